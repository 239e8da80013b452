#include "quarn/kernel/io/HxRecovery.h"

#include <algorithm>
#include <exception>

#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/objects/HxObjectPool.h"

QString HxLeftOver::toText() const {
  QStringList parts;
  if (!description.isEmpty()) parts.append(description);
  parts.append(QStringLiteral("%1 bytes").arg(bytes));
  if (lastWrite.isValid()) parts.append(lastWrite.toUTC().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss 'UTC'")));
  if (!problem.isEmpty()) parts.append(QStringLiteral("cannot be recovered: ") + problem);
  return (name.isEmpty() ? QStringLiteral("(no name)") : name) + QStringLiteral(": ") +
         parts.join(QStringLiteral(", "));
}

HxRecoveryProvider::~HxRecoveryProvider() = default;

HxRecovery& HxRecovery::instance() {
  // Never destroyed: packages that are closed late still find it.
  static HxRecovery& recovery = *new HxRecovery;
  return recovery;
}

void HxRecovery::addProvider(HxRecoveryProvider* provider) {
  removeProvider(provider);
  providers_.push_back(provider);
}

void HxRecovery::removeProvider(HxRecoveryProvider* provider) {
  std::erase(providers_, provider);
}

bool HxRecovery::hasAny() {
  return std::ranges::any_of(providers_, [](HxRecoveryProvider* provider) {
    try {
      return provider->hasAny();
    } catch (const std::exception&) {
      return false;  // Asking for the list tells why.
    }
  });
}

std::vector<HxLeftOver> HxRecovery::list() {
  std::vector<HxLeftOver> all;
  for (HxRecoveryProvider* provider : providers_) {
    std::vector<HxLeftOver> found = provider->list();
    std::ranges::move(found, std::back_inserter(all));
  }
  return all;
}

QStringList HxRecovery::load() {
  std::vector<McHandle<HxData>> loaded;
  for (HxRecoveryProvider* provider : providers_) std::ranges::move(provider->load(), std::back_inserter(loaded));
  QStringList names;
  for (const McHandle<HxData>& data : loaded) {
    HxObjectPool::instance().add(data, QStringLiteral("recovered"));
    names.append(data->getName());
  }
  return names;
}

int HxRecovery::discardLoaded() {
  int count = 0;
  for (HxRecoveryProvider* provider : providers_) count += provider->discardLoaded();
  return count;
}

void HxRecovery::keepLoaded() {
  for (HxRecoveryProvider* provider : providers_) provider->keepLoaded();
}

int HxRecovery::discardAll() {
  int count = 0;
  for (HxRecoveryProvider* provider : providers_) count += provider->discardAll();
  return count;
}

void HxRecovery::checkpointIfDue() {
  if (untilCheckpoint() != 0) return;
  tellEach(&HxRecoveryProvider::checkpoint);
  sinceCheckpoint_.start();
}

void HxRecovery::keepUnsaved() {
  tellEach(&HxRecoveryProvider::keepUnsaved);
}

void HxRecovery::tellEach(void (HxRecoveryProvider::*write)()) {
  for (HxRecoveryProvider* provider : providers_) {
    try {
      (provider->*write)();
    } catch (const std::exception& failure) {
      HxMessage::printf("The temporary storage does not hold the newest state: %s", failure.what());
    }
  }
}

int HxRecovery::untilCheckpoint() const {
  if (interval_ <= 0) return -1;
  return static_cast<int>(std::max<qint64>(0, interval_ * qint64{1000} - sinceCheckpoint_.elapsed()));
}
