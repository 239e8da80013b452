#include "quarn/kernel/io/HxLoadOptions.h"

#include <algorithm>
#include <charconv>

#include "quarn/base/McException.h"

namespace {

/// Reads a number from the start of `rest` and moves behind it.
bool takeNumber(std::string_view& rest, int& number) {
  const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
  if (error != std::errc()) return false;
  rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
  return true;
}

/// "7", "1-90" or "-3--1"; false for anything else.
bool readRange(std::string_view part, std::pair<int, int>& range) {
  if (!takeNumber(part, range.first)) return false;
  range.second = range.first;
  if (part.empty()) return true;
  if (part.front() != '-') return false;
  part.remove_prefix(1);
  return takeNumber(part, range.second) && part.empty() && range.first <= range.second;
}

}  // namespace

bool HxLoadOptions::admits(int value) const {
  return values.empty() || std::ranges::any_of(values, [value](const auto& range) {
           return range.first <= value && value <= range.second;
         });
}

std::vector<std::pair<int, int>> HxLoadOptions::parseRanges(const QString& text) {
  std::vector<std::pair<int, int>> ranges;
  for (const QString& part : text.split(QLatin1Char(','))) {
    const std::string word = part.trimmed().toStdString();
    std::pair<int, int> range;
    if (!readRange(word, range))
      throw McException("values: a range such as 1-90 is expected, got \"" + McException::excerpt(word) + "\"");
    ranges.push_back(range);
  }
  return ranges;
}
