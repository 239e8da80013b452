#include "quarn/kernel/io/HxLoadOptions.h"

#include <algorithm>
#include <charconv>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxFileHelpers.h"

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

std::string excerpt(const QString& text) {
  return McException::excerpt(text.toStdString());
}

void setOption(HxLoadOptions& options, const QString& option, const QString& value) {
  if (option == QLatin1String("-as")) {
    options.name = value;
  } else if (option == QLatin1String("-labels")) {
    HxFileHelpers::requireReadable(value);
    options.labels = value;
  } else if (option == QLatin1String("-colors")) {
    HxFileHelpers::requireReadable(value);
    options.colors = value;
  } else if (option == QLatin1String("-kind")) {
    if (value != QLatin1String("scalar") && value != QLatin1String("label"))
      throw McException("-kind: scalar or label is expected, got \"" + excerpt(value) + "\"");
    options.kind = value;
  } else if (option == QLatin1String("-values")) {
    options.values = HxLoadOptions::parseRanges(value);
  } else {
    throw McException("unknown option \"" + excerpt(option) +
                      "\": -as, -labels, -colors, -kind or -values is expected");
  }
}

QString rangeText(const std::pair<int, int>& range) {
  const QString first = QString::number(range.first);
  return range.first == range.second ? first : first + "-" + QString::number(range.second);
}

}  // namespace

HxLoadOptions HxLoadOptions::fromWords(const QStringList& words) {
  HxLoadOptions options;
  for (qsizetype i = 0; i < words.size(); i += 2) {
    if (i + 1 == words.size()) throw McException("option \"" + excerpt(words[i]) + "\" has no value");
    setOption(options, words[i], words[i + 1]);
  }
  return options;
}

QStringList HxLoadOptions::toWords() const {
  QStringList words, ranges;
  if (!labels.isEmpty()) words << "-labels" << labels;
  if (!colors.isEmpty()) words << "-colors" << colors;
  if (!kind.isEmpty()) words << "-kind" << kind;
  for (const auto& range : values) ranges << rangeText(range);
  if (!ranges.isEmpty()) words << "-values" << ranges.join(",");
  return words;
}

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
