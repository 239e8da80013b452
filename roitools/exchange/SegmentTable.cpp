#include "roitools/exchange/SegmentTable.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <set>

#include "quarn/base/McException.h"
#include "quarn/kernel/params/HxParameter.h"

namespace roitools {

using hxroi::details::Mask;
using quarn::NrrdHeader;

namespace {

// Of the keys of all programs.
constexpr std::string_view segmentStart = "Segment";
constexpr int greatestNumber = 999999;
constexpr const char *nameKey = "Name", *colorKey = "Color", *layerKey = "Layer", *labelValueKey = "LabelValue",
                     *extentKey = "Extent", *idKey = "ID";

// Of our own, which others pass over.
constexpr const char* groupKey = "hxroi.Group";
constexpr std::string_view groupStart = "hxroi.Group";

// Of the parameters of a mask.
constexpr const char *segmentBundle = "Segment", *roiNameKey = "RoiName";

std::string utf8(const std::string& latin1) {
  return QString::fromLatin1(latin1.c_str()).toStdString();
}

template <class Number>
bool readNumber(std::string_view text, Number& number) {
  const char* const end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stopped == end;
}

std::string textOf(const McColor& color) {
  std::string text;
  for (int channel = 0; channel < 3; ++channel) {
    char buffer[32];
    text += channel > 0 ? " " : "";
    text.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, color[channel]).ptr);
  }
  return text;
}

/// Reads keys of one file.
class KeyReader {
public:
  explicit KeyReader(const QString& file) : file_(McException::excerpt(file.toStdString())) {}

  [[noreturn]] void refuse(const std::string& key, const std::string& what, const std::string& value) const {
    throw McException(file_ + ": key \"" + McException::excerpt(key) + "\": " + what + ", got \"" +
                      McException::excerpt(value) + "\"");
  }

  std::int64_t integer(const std::string& key, const std::string& value, std::int64_t least, std::int64_t most) const {
    std::int64_t number = 0;
    if (!readNumber(std::string_view(value), number) || number < least || number > most)
      refuse(key, "a whole number from " + std::to_string(least) + " to " + std::to_string(most) + " is expected",
             value);
    return number;
  }

  McColor color(const std::string& key, const std::string& value) const {
    McColor color;
    std::string_view rest = value;
    for (int channel = 0; channel < 3; ++channel) {
      rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
      const std::string_view word = rest.substr(0, rest.find(' '));
      rest.remove_prefix(word.size());
      float part = 0;
      if (!readNumber(word, part) || !std::isfinite(part)) refuse(key, "three numbers from 0 to 1 are expected", value);
      color[channel] = std::clamp(part, 0.0F, 1.0F);
    }
    if (rest.find_first_not_of(' ') != std::string_view::npos)
      refuse(key, "three numbers from 0 to 1 are expected", value);
    return color;
  }

private:
  const std::string file_;
};

/// A key "SegmentN_...", taken apart.
struct SegmentKey {
  int number = 0;
  std::string rest;
};

/// Nothing for keys of other things, such as "Segmentation_...".
std::optional<SegmentKey> takeApart(const std::string& key, const std::string& value, const KeyReader& reader) {
  if (!key.starts_with(segmentStart) || key.size() == segmentStart.size()) return std::nullopt;
  const char next = key[segmentStart.size()];
  if (next != '-' && next != '+' && (next < '0' || next > '9')) return std::nullopt;
  const std::size_t end = key.find('_');
  SegmentKey parts;
  if (end == std::string::npos ||
      !readNumber(std::string_view(key).substr(segmentStart.size(), end - segmentStart.size()), parts.number) ||
      parts.number < 0 || parts.number > greatestNumber)
    reader.refuse(key, "the number of the segment is none from 0 to " + std::to_string(greatestNumber), value);
  parts.rest = key.substr(end + 1);
  return parts;
}

using Keys = std::map<std::string, std::string>;

/// Takes a key out; the value of one that is missing is `otherwise`.
std::string take(Keys& keys, const char* key, const std::string& otherwise = {}) {
  const auto found = keys.find(key);
  if (found == keys.end()) return otherwise;
  const std::string value = found->second;
  keys.erase(found);
  return value;
}

/// Where nothing is said, several layers hold a segment each, as they did before there were keys for it; labels of one
/// layer are counted from 1.
Segment segmentOf(int number, Keys keys, std::int64_t layerCount, const KeyReader& reader) {
  const std::string start = std::string(segmentStart) + std::to_string(number) + "_";
  const std::string usualLayer = std::to_string(layerCount > 1 ? number : 0);
  const std::string usualValue = std::to_string(layerCount > 1 ? 1 : number + 1);
  Segment segment;
  segment.number = number;
  segment.layer = reader.integer(start + layerKey, take(keys, layerKey, usualLayer), 0, layerCount - 1);
  segment.labelValue =
      reader.integer(start + labelValueKey, take(keys, labelValueKey, usualValue),
                     std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max());
  if (segment.labelValue == 0) reader.refuse(start + labelValueKey, "0 stands for no segment", "0");
  if (keys.contains(colorKey)) segment.color = reader.color(start + colorKey, take(keys, colorKey));
  segment.name = take(keys, nameKey);
  segment.group = take(keys, groupKey);
  take(keys, extentKey);
  segment.others = std::move(keys);
  return segment;
}

std::vector<ExchangedGroup> readGroups(const Keys& keys, const KeyReader& reader) {
  std::vector<ExchangedGroup> groups;
  for (int number = 0;; ++number) {
    const std::string start = std::string(groupStart) + std::to_string(number) + ".";
    const auto name = keys.find(start + "Name");
    if (name == keys.end()) return groups;
    ExchangedGroup group{name->second, McColor(), 0};
    if (const auto color = keys.find(start + "Color"); color != keys.end())
      group.color = reader.color(color->first, color->second);
    if (const auto position = keys.find(start + "Position"); position != keys.end())
      group.position = static_cast<int>(reader.integer(position->first, position->second, 0, greatestNumber));
    groups.push_back(group);
  }
}

std::string extentOf(const McBox3i& box) {
  if (box.isEmpty()) return "0 -1 0 -1 0 -1";
  std::string text;
  for (int i = 0; i < 6; ++i) text += (i > 0 ? " " : "") + std::to_string(box[i]);
  return text;
}

/// What was kept of the segment that the mask was made of, as far as it still holds.
void addKept(Segment& segment, const Mask& mask) {
  const HxParamBundle* const kept = mask.parameters().getBundle(segmentBundle);
  if (!kept) return;
  std::string roiName;
  const bool hasFormerName = kept->findString(roiNameKey, roiName) && roiName == mask.name();
  for (int i = 0; i < kept->size(); ++i) {
    const std::string& key = (*kept)[i]->name();
    QString value;
    if (key == roiNameKey || !kept->findString(key, value)) continue;
    if (key != nameKey) {
      segment.others[key] = value.toStdString();
    } else if (hasFormerName) {
      segment.name = value.toStdString();
    }
  }
}

}  // namespace

SegmentTable SegmentTable::parse(const NrrdHeader& header, std::int64_t layerCount, const QString& file) {
  const KeyReader reader(file);
  std::map<int, Keys> segments;
  Keys groups;
  for (const auto& [key, value] : header.keyValues) {
    if (const auto parts = takeApart(key, value, reader)) {
      if (!segments[parts->number].emplace(parts->rest, value).second) reader.refuse(key, "stands there twice", value);
    } else if (key.starts_with(groupStart) && !groups.emplace(key, value).second) {
      reader.refuse(key, "stands there twice", value);
    }
  }
  SegmentTable table;
  for (auto& [number, keys] : segments)
    table.segments.push_back(segmentOf(number, std::move(keys), layerCount, reader));
  table.groups = readGroups(groups, reader);
  return table;
}

SegmentTable SegmentTable::of(const ExchangedSet& set, const std::vector<int>& layers) {
  SegmentTable table;
  table.groups = set.groups;
  std::map<int, std::int64_t> labels;
  std::set<std::string> ids;
  for (std::size_t i = 0; i < set.masks.size(); ++i) {
    const Mask& mask = *set.masks[i].mask;
    Segment segment;
    segment.number = static_cast<int>(i);
    segment.name = utf8(mask.name());
    segment.color = mask.color(false);
    segment.layer = layers[i];
    segment.labelValue = ++labels[layers[i]];
    segment.group = set.masks[i].group;
    addKept(segment, mask);
    std::string& id = segment.others[idKey];
    if (id.empty() || ids.contains(id)) id = utf8(mask.name());
    while (!ids.insert(id).second) id += "_";
    table.segments.push_back(segment);
  }
  return table;
}

void SegmentTable::write(NrrdHeader& header, const std::vector<MaskContent>& contents) const {
  const auto add = [&](const std::string& key, const std::string& value) { header.keyValues.emplace_back(key, value); };
  for (const Segment& segment : segments) {
    const std::string start = std::string(segmentStart) + std::to_string(segment.number) + "_";
    const auto addSegment = [&](const std::string& key, const std::string& value) { add(start + key, value); };
    addSegment(colorKey, textOf(*segment.color));
    addSegment(extentKey, extentOf(contents[static_cast<std::size_t>(segment.number)].box));
    addSegment(labelValueKey, std::to_string(segment.labelValue));
    addSegment(layerKey, std::to_string(segment.layer));
    addSegment(nameKey, segment.name);
    for (const auto& [key, value] : segment.others) addSegment(key, value);
    if (!segment.group.empty()) addSegment(groupKey, segment.group);
  }
  for (std::size_t i = 0; i < groups.size(); ++i) {
    const std::string start = std::string(groupStart) + std::to_string(i) + ".";
    add(start + "Name", groups[i].name);
    add(start + "Color", textOf(groups[i].color));
    add(start + "Position", std::to_string(groups[i].position));
  }
  add("Segmentation_ContainedRepresentationNames", "Binary labelmap|");
  add("Segmentation_MasterRepresentation", "Binary labelmap");
  add("Segmentation_SourceRepresentation", "Binary labelmap");
  add("Segmentation_ReferenceImageExtentOffset", "0 0 0");
}

int keepSegment(Mask& mask, const Segment& segment) {
  constexpr int mostKeys = 64;
  const std::string name = utf8(mask.name());
  if (segment.others.empty() && segment.name == name) return 0;
  HxParamBundle& kept = *mask.parameters().getBundle(segmentBundle);
  int keys = 0, others = 0;
  for (const auto& [key, value] : segment.others) {
    const bool isName = !key.empty() && key != roiNameKey && HxParamBase::normalizedName(key) == key;
    if (isName && keys < mostKeys) {
      kept.set(key, QString::fromStdString(value));
      ++keys;
    } else {
      ++others;
    }
  }
  kept.set(roiNameKey, mask.name());
  if (segment.name != name) kept.set(nameKey, QString::fromStdString(segment.name));
  return others;
}

}  // namespace roitools
