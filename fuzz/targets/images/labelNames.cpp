#include "quarn/formats/LabelNames.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "fuzz/targets/HostScope.h"
#include "fuzz/targets/properties.h"
#include "fuzz/targets/targets.h"
#include "quarn/formats/labelTables.h"

namespace fuzz {

using quarn::formats::LabelNames;

namespace {

bool hasControls(const std::string& text) {
  return std::ranges::any_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
}

/// Labels as tables hold them: their names have no control characters.
std::vector<quarn::formats::TableLabel> labelsOf(const LabelNames& names) {
  std::vector<quarn::formats::TableLabel> labels;
  for (const auto& [value, name] : names.byValue()) {
    const quarn::formats::LabelColor* const color = names.color(value);
    if (!hasControls(name)) labels.push_back({value, name, color ? std::optional(*color) : std::nullopt});
  }
  return labels;
}

/// What is written without losses comes back.
void requireRoundTrip(HostScope& host, const std::vector<quarn::formats::TableLabel>& labels) {
  const quarn::formats::WrittenTable table = quarn::formats::toLabelDescriptions(labels);
  if (labels.empty() || !table.losses.isEmpty()) return;
  LabelNames back;
  const std::string_view text(table.bytes.constData(), static_cast<std::size_t>(table.bytes.size()));
  require(host.refusalOf([&] { back = LabelNames::parse(text, host.file()); }).empty(), "what is written is read");
  require(back.byValue().size() == labels.size(), "all labels come back");
  for (const auto& label : labels) {
    require(back.find(label.value) && *back.find(label.value) == label.name, "names come back");
    if (label.color) require(back.color(label.value) && *back.color(label.value) == *label.color, "colours come back");
  }
}

}  // namespace

bool labelNames(std::span<const std::byte> input) {
  HostScope host("names.txt", input);
  const std::string_view text(reinterpret_cast<const char*>(input.data()), input.size());
  LabelNames names;
  const std::string refusal = host.refusalOf([&] { names = LabelNames::parse(text, host.file()); });
  if (!refusal.empty()) return false;
  require(!names.byValue().empty() || !names.colors().empty(), "a table holds a label");
  for (const auto& [value, name] : names.byValue())
    require(value <= LabelNames::largestValue && !name.empty(), "labels have a value and a name");
  requireRoundTrip(host, labelsOf(names));
  return true;
}

}  // namespace fuzz
