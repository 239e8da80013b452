#include "quarn/kernel/objects/HxCompModule.h"

#include <algorithm>

#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/objects/detail/HxEvaluation.h"
#include "quarn/kernel/objects/detail/MakingRecord.h"
#include "quarn/kernel/ports/HxPortDoIt.h"

MC_ABSTRACT_CLASS_IMPL(HxCompModule, HxObject)

HxCompModule::HxCompModule(McType dataType) : dataConnection(this, "data", "Data", dataType) {}

HxCompModule::~HxCompModule() = default;

HxData* HxCompModule::resultObject(int slot) const {
  const HxResultSlot* found = findResultSlot(slot);
  return found ? found->object() : nullptr;
}

const HxResultSlot* HxCompModule::findResultSlot(int slot) const {
  const auto found = slots_.find(slot);
  return found == slots_.end() ? nullptr : &found->second;
}

void HxCompModule::setResult(int slot, HxData* data, unsigned int flags) {
  HxResultSlot& place = slots_[slot];
  const McHandle<HxData> former = place.object_;
  if (former && former != data) former->baseConnection.disconnect();
  place = HxResultSlot();
  if (!data) return;

  place.object_ = data;
  data->baseConnection.connect(this);
  data->touch(flags);
  data->sinceMade_ = 0;
  place.touchTime_ = data->getTouchTime();
  place.record_ = std::make_shared<const quarn::detail::MakingRecord>(*this);
  if (isInPool() && !data->isInPool()) HxObjectPool::instance().add(data, resultName(*data));
  quarn::detail::HxEvaluation::fireAfter(*this, *data);
}

bool HxCompModule::adoptResult(int slot, HxData* data) {
  if (!data->baseConnection.connect(this)) return false;
  if (const std::optional<int> other = slotOf(data); other && *other != slot) slots_[*other] = HxResultSlot();
  HxResultSlot& place = slots_[slot];
  const McHandle<HxData> former = place.object_;
  if (former && former != data) former->baseConnection.disconnect();
  place = HxResultSlot();
  place.object_ = data;
  return true;
}

std::optional<int> HxCompModule::slotOf(const HxData* data) const {
  for (const auto& [number, slot] : slots_) {
    if (slot.object() == data) return number;
  }
  return std::nullopt;
}

QString HxCompModule::changedSinceMaking(const HxData* data) const {
  const std::optional<int> slot = slotOf(data);
  const auto* record = slot ? findResultSlot(*slot)->record_.get() : nullptr;
  return record ? record->differenceTo(*this) : QString();
}

bool HxCompModule::hadInput(const HxData* data) const {
  const std::optional<int> slot = slotOf(data);
  const auto* record = slot ? findResultSlot(*slot)->record_.get() : nullptr;
  return record && record->hasSource(*this, dataConnection.getName());
}

bool HxCompModule::canCreateData(HxData* data, QString& script) {
  const auto isMade = [data](const auto& entry) {
    return entry.second.object() == data && entry.second.getTouchTime() == data->getTouchTime();
  };
  const auto slot = std::find_if(slots_.begin(), slots_.end(), isMade);
  const auto* button = dynamic_cast<const HxPortDoIt*>(findPort("doIt"));
  if (slot == slots_.end() || !button || button->buttons() != 1) return false;
  const QString number = slot->first == 0 ? QString() : " " + QString::number(slot->first);
  script = QString("\"%1\" doIt hit; \"%1\" compute; \"%1\" getResult%2\n").arg(getName(), number);
  return true;
}

void HxCompModule::dropResult(const HxData* data) {
  for (auto& [number, slot] : slots_) {
    if (slot.object_ == data) slot = HxResultSlot();
  }
}

QString HxCompModule::resultName(const HxData& data) const {
  if (!data.getLabel().isEmpty()) return data.getLabel();
  QString kind = QString::fromStdString(data.getTypeId().getName());
  if (kind.startsWith("Hx")) kind.remove(0, 2);
  const HxObject* input = dataConnection.source();
  return input && !input->getLabel().isEmpty() ? input->getLabel() + "-" + kind : kind;
}
