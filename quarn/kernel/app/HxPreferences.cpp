#include "quarn/kernel/app/HxPreferences.h"

#include <array>
#include <charconv>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/detail/privateFolder.h"
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

/// One preference as a row: how it is called, read and set.
struct Preference {
  QString key;
  QString (*get)(const HxPreferences&);
  void (*set)(HxPreferences&, const QString& key, const QString& value);
};

const std::array<Preference, 2>& table() {
  static const std::array<Preference, 2> rows{
      Preference{
          QStringLiteral("LDA > Tile Size"), [](const HxPreferences& p) { return QString::number(p.getTileSize()); },
          [](HxPreferences& p, const QString& key, const QString& value) { p.setTileSize(parseTileSize(key, value)); }},
      Preference{QStringLiteral("Temporary Directory"),
                 [](const HxPreferences& p) { return p.getTemporaryDirectory(); },
                 [](HxPreferences& p, const QString&, const QString& value) { p.setTemporaryDirectory(value); }}};
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
