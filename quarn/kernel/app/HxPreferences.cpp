#include "quarn/kernel/app/HxPreferences.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <string_view>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/detail/privateFolder.h"
#include "quarn/kernel/io/HxRecovery.h"
#include "quarn/voxora/tiles/MemoryBudget.h"
#include "quarn/voxora/utilities/utilities.h"

namespace {

constexpr std::array tileSizes{32, 64, 128, 256};

[[noreturn]] void refuse(const QString& key, const QString& value, const QString& wanted) {
  const std::string shown = McException::excerpt(value.toStdString());
  throw McException("preference \"" + key.toStdString() + "\": " + wanted.toStdString() + " expected, got \"" + shown +
                    "\"");
}

int parseTileSize(const QString& key, const QString& value) {
  const QByteArray text = value.trimmed().toUtf8();
  int number = 0;
  const auto [end, error] = std::from_chars(text.begin(), text.end(), number);
  const bool whole = error == std::errc() && end == text.end();
  if (!whole || std::find(tileSizes.begin(), tileSizes.end(), number) == tileSizes.end())
    refuse(key, value, QStringLiteral("32, 64, 128 or 256"));
  return number;
}

/// Letters behind a number of bytes; each unit is 1024 of the one before.
constexpr std::string_view units = "KMGT";

std::uint64_t bytesOf(std::size_t unit) {
  return std::uint64_t{1} << (10 * (unit + 1));
}

std::size_t parseMainMemory(const QString& key, const QString& value) {
  const QByteArray text = value.trimmed().toUpper().toUtf8();
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.begin(), text.end(), number);
  const std::string_view letter(end, static_cast<std::size_t>(text.end() - end));
  const std::size_t unit = letter.empty() ? units.find('M') : units.find(letter);
  const bool isUnit = letter.size() <= 1 && unit != std::string_view::npos;
  if (error != std::errc() || !isUnit || number > std::numeric_limits<std::size_t>::max() / bytesOf(unit))
    refuse(key, value, QStringLiteral("a number of MiB, or a number with K, M, G or T behind it,"));
  return number * bytesOf(unit);
}

/// The form that parseMainMemory() takes, in MiB when that goes.
QString mainMemoryText(std::size_t bytes) {
  const std::size_t mebi = bytesOf(units.find('M')), kibi = bytesOf(units.find('K'));
  return bytes % mebi == 0 ? QString::number(bytes / mebi)
                           : QString::number((bytes + kibi - 1) / kibi) + QLatin1Char('K');
}

int parseRecoveryInterval(const QString& key, const QString& value) {
  bool isNumber = false;
  const int seconds = value.trimmed().toInt(&isNumber);
  if (!isNumber || seconds < 0 || seconds > HxRecovery::MAXIMUM_INTERVAL)
    refuse(key, value, QStringLiteral("a number of seconds from 0 to %1").arg(HxRecovery::MAXIMUM_INTERVAL));
  return seconds;
}

/// In the order of HxPreferences::OlderFiles.
constexpr std::array olderFilesWords{"ask", "beside", "replace"};

HxPreferences::OlderFiles parseOlderFiles(const QString& key, const QString& value) {
  const std::string word = value.trimmed().toLower().toStdString();
  const auto found = std::find(olderFilesWords.begin(), olderFilesWords.end(), word);
  if (found == olderFilesWords.end()) refuse(key, value, QStringLiteral("ask, beside or replace"));
  return static_cast<HxPreferences::OlderFiles>(found - olderFilesWords.begin());
}

/// One preference as a row: how it is called, read and set.
struct Preference {
  QString key;
  QString (*get)(const HxPreferences&);
  void (*set)(HxPreferences&, const QString& key, const QString& value);
};

const std::array<Preference, 5>& table() {
  static const std::array<Preference, 5> rows{
      Preference{QStringLiteral("LDA > Main Memory"),
                 [](const HxPreferences& p) { return mainMemoryText(p.getMainMemory()); },
                 [](HxPreferences& p, const QString& key, const QString& value) {
                   p.setMainMemory(parseMainMemory(key, value));
                 }},
      Preference{
          QStringLiteral("LDA > Tile Size"), [](const HxPreferences& p) { return QString::number(p.getTileSize()); },
          [](HxPreferences& p, const QString& key, const QString& value) { p.setTileSize(parseTileSize(key, value)); }},
      Preference{QStringLiteral("Recovery Interval"),
                 [](const HxPreferences&) { return QString::number(HxRecovery::instance().interval()); },
                 [](HxPreferences&, const QString& key, const QString& value) {
                   HxRecovery::instance().setInterval(parseRecoveryInterval(key, value));
                 }},
      Preference{QStringLiteral("Temporary Directory"),
                 [](const HxPreferences& p) { return p.getTemporaryDirectory(); },
                 [](HxPreferences& p, const QString&, const QString& value) { p.setTemporaryDirectory(value); }},
      Preference{QStringLiteral("Upgrade Older Files"),
                 [](const HxPreferences& p) {
                   return QString::fromLatin1(olderFilesWords[static_cast<std::size_t>(p.getOlderFiles())]);
                 },
                 [](HxPreferences& p, const QString& key, const QString& value) {
                   p.setOlderFiles(parseOlderFiles(key, value));
                 }}};
  return rows;
}

QString normalised(const QString& key) {
  QStringList parts = key.toLower().split(QLatin1Char('>'));
  for (QString& part : parts) part = part.simplified();
  return parts.join(QLatin1Char('>'));
}

const Preference& preference(const QString& key) {
  const QString wanted = normalised(key);
  for (const Preference& row : table())
    if (normalised(row.key) == wanted) return row;
  throw McException("there is no preference \"" + McException::excerpt(key.toStdString()) +
                    "\"; there are: " + HxPreferences::keys().join(QStringLiteral(", ")).toStdString());
}

}  // namespace

QString HxPreferences::getTemporaryDirectory() const {
  return temporaryDirectory_.isEmpty() ? quarn::detail::privateTemporaryFolder() : temporaryDirectory_;
}

void HxPreferences::setTemporaryDirectory(const QString& directory) {
  if (directory.isEmpty()) refuse(QStringLiteral("Temporary Directory"), directory, QStringLiteral("a folder"));
  temporaryDirectory_ = directory;
}

int HxPreferences::getTileSize() const {
  return hxvoxora::utilities::getDefaultTileSize();
}

void HxPreferences::setTileSize(int voxels) {
  const QString key = QStringLiteral("LDA > Tile Size");
  hxvoxora::utilities::setDefaultTileSize(parseTileSize(key, QString::number(voxels)));
}

std::size_t HxPreferences::getMainMemory() const {
  return hxvoxora::memoryBudget();
}

void HxPreferences::setMainMemory(std::size_t bytes) {
  hxvoxora::setMemoryBudget(bytes);
}

QStringList HxPreferences::keys() {
  QStringList keys;
  for (const Preference& row : table()) keys.append(row.key);
  return keys;
}

QString HxPreferences::get(const QString& key) const {
  return preference(key).get(*this);
}

void HxPreferences::set(const QString& key, const QString& value) {
  const Preference& row = preference(key);
  row.set(*this, row.key, value);
}
