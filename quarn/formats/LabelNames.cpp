#include "quarn/formats/LabelNames.h"

#include <QFile>
#include <algorithm>
#include <cmath>

#include "quarn/formats/detail/RawVoxels.h"
#include "quarn/formats/detail/fault.h"
#include "quarn/formats/detail/labelLines.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/readWhole.h"

namespace quarn::formats {

namespace {

using detail::refuse;

constexpr std::int64_t largestFile = 16 * 1024 * 1024;
constexpr std::size_t lookupColors = 256;

/// A byte that stands in no text.
bool isNoText(char sign) {
  return static_cast<unsigned char>(sign) < ' ' && sign != '\t' && sign != '\n' && sign != '\r';
}

bool isLookupTable(std::string_view bytes, const QString& source) {
  if (bytes.size() != 3 * lookupColors) return false;
  return source.endsWith(QLatin1String(".lut"), Qt::CaseInsensitive) ||
         std::any_of(bytes.begin(), bytes.end(), isNoText);
}

/// Refuses what is not UTF-8 text; takes a byte order mark off.
std::string_view checkedText(std::string_view text, const QString& source) {
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
    refuse(source, QStringLiteral("is UTF-16 text; label names are read as UTF-8"));
  }
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  if (const std::size_t nul = text.find('\0'); nul != std::string_view::npos) {
    refuse(source, QStringLiteral("is no text: it holds a zero byte at offset %1").arg(nul));
  }
  return text;
}

}  // namespace

McColor toMcColor(const LabelColor& color) {
  const auto part = [&color](std::size_t channel) { return static_cast<float>(color[channel]) / 255; };
  return {part(0), part(1), part(2)};
}

LabelColor toLabelColor(const McColor& color) {
  LabelColor parts;
  for (int channel = 0; channel < 3; ++channel) {
    const float part = std::clamp(color[channel], 0.0F, 1.0F);
    parts[static_cast<std::size_t>(channel)] = static_cast<std::uint8_t>(std::lround(part * 255));
  }
  return parts;
}

LabelNames LabelNames::read(const QString& file) {
  using hxvoxora::FileSystem;
  if (detail::lengthOf(file) > largestFile) {
    refuse(file, QStringLiteral("is larger than 16 MiB: no list of label names"));
  }
  return parse(hxvoxora::readWhole(FileSystem::current(), QFile::encodeName(file).toStdString(), largestFile,
                                   FileSystem::Links::follow),
               file);
}

LabelNames LabelNames::parse(std::string_view text, const QString& source) {
  if (isLookupTable(text, source)) return fromLookupTable(text);
  LabelNames result;
  std::map<std::uint32_t, int> lineOf;
  const auto lines = detail::labelLines(checkedText(text, source), source);
  const detail::LabelDialect dialect = detail::dialectOf(lines);
  for (const detail::LabelLine& line : lines) {
    const QString place = source + QLatin1Char(':') + QString::number(line.number);
    const detail::LabelEntry entry = detail::parseLabelLine(line.text, dialect, place);
    const auto [first, isNew] = lineOf.emplace(entry.value, line.number);
    if (!isNew) {
      refuse(place, QStringLiteral("label value %1 was named before, in line %2").arg(entry.value).arg(first->second));
    }
    if (!entry.name.empty()) result.names_.emplace(entry.value, entry.name);
    if (entry.color) result.colors_.emplace(entry.value, *entry.color);
  }
  if (lineOf.empty()) refuse(source, QStringLiteral("names no label"));
  return result;
}

LabelNames LabelNames::fromLookupTable(std::string_view bytes) {
  LabelNames result;
  const auto part = [bytes](std::size_t value, std::size_t channel) {
    return static_cast<std::uint8_t>(bytes[channel * lookupColors + value]);
  };
  for (std::size_t value = 0; value < lookupColors; ++value)
    result.colors_.emplace(value, LabelColor{part(value, 0), part(value, 1), part(value, 2)});
  return result;
}

bool LabelNames::areGiven(const HxLoadOptions& options) {
  return !options.labels.isEmpty() || !options.colors.isEmpty();
}

std::optional<LabelNames> LabelNames::forOptions(const HxLoadOptions& options) {
  if (!areGiven(options)) return std::nullopt;
  LabelNames result;
  if (!options.labels.isEmpty()) result = read(options.labels);
  if (options.colors.isEmpty()) return result;
  LabelNames colors = read(options.colors);
  if (colors.colors_.empty()) refuse(options.colors, QStringLiteral("gives no colours of labels"));
  result.colors_ = std::move(colors.colors_);
  return result;
}

const std::string* LabelNames::find(std::uint32_t value) const {
  const auto found = names_.find(value);
  return found == names_.end() ? nullptr : &found->second;
}

const LabelColor* LabelNames::color(std::uint32_t value) const {
  const auto found = colors_.find(value);
  return found == colors_.end() ? nullptr : &found->second;
}

}  // namespace quarn::formats
