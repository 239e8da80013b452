#include "quarn/view/SceneText.h"

#include <QLocale>
#include <QStringList>
#include <algorithm>
#include <array>
#include <cmath>

#include "quarn/base/McException.h"
#include "quarn/kernel/fields/HxStandardColormaps.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/view/ScenePainter.h"

namespace quarn::view {
namespace {

const QString kNothing = QStringLiteral("-");

struct NamedMode {
  const char* word;
  std::optional<VolumeMode> mode;
};

constexpr std::array kModes{NamedMode{"auto", std::nullopt}, NamedMode{"off", VolumeMode::Off},
                            NamedMode{"slices", VolumeMode::Planes}, NamedMode{"rendered", VolumeMode::Rendered}};

std::string excerpt(const QString& text) {
  return McException::excerpt(text.toStdString());
}

/// As short as it reads back exactly.
QString exactly(double number) {
  return QString::number(number, 'g', QLocale::FloatingPointShortest);
}

double finite(const QString& word) {
  bool isNumber = false;
  const double value = word.toDouble(&isNumber);
  if (!isNumber || !std::isfinite(value)) throw McException("\"" + excerpt(word) + "\" is not a number.");
  return value;
}

QString wordOf(const HxColormap* colormap) {
  if (!colormap) return kNothing;
  return HxStandardColormaps::instance().isStandard(colormap) ? colormap->getLabel() : colormap->getName();
}

}  // namespace

QString wordOf(const std::optional<VolumeMode>& mode) {
  const auto found = std::find_if(kModes.begin(), kModes.end(), [&](const auto& each) { return each.mode == mode; });
  return QLatin1String(found->word);
}

std::optional<VolumeMode> volumeMode(const QString& word) {
  for (const NamedMode& each : kModes)
    if (word == QLatin1String(each.word)) return each.mode;
  throw McException("An image in space is auto, off, slices or rendered, not \"" + excerpt(word) + "\".");
}

HxColormap* colormapNamed(const QString& name) {
  if (HxColormap* standard = HxStandardColormaps::instance().find(name)) return standard;
  if (auto* colormap = dynamic_cast<HxColormap*>(HxObjectPool::instance().find(name))) return colormap;
  throw McException("There is no colormap \"" + excerpt(name) + "\"; there are " +
                    HxStandardColormaps::instance().names().join(QStringLiteral(", ")).toStdString() +
                    ", and those that were loaded.");
}

QString textOf(const ImageSettings& settings) {
  QStringList words{wordOf(settings.mode), wordOf(settings.colormap.get()), kNothing, kNothing};
  if (settings.range) words[2] = exactly(settings.range->first), words[3] = exactly(settings.range->second);
  return words.join(QLatin1Char(' '));
}

ImageSettings imageSettings(const QString& text) {
  const QStringList words = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
  if (words.size() != 4) throw McException("\"" + excerpt(text) + "\" does not tell how an image is shown.");
  ImageSettings settings;
  settings.mode = volumeMode(words[0]);
  if (words[1] != kNothing) settings.colormap = colormapNamed(words[1]);
  if (words[2] != kNothing) settings.range.emplace(finite(words[2]), finite(words[3]));
  return settings;
}

}  // namespace quarn::view
