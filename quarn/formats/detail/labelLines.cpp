#include "quarn/formats/detail/labelLines.h"

#include <QStringDecoder>
#include <algorithm>
#include <charconv>
#include <system_error>

#include "quarn/formats/detail/fault.h"

namespace quarn::formats::detail {

namespace {

using Words = std::vector<std::string_view>;

constexpr std::size_t colorTableWords = 6;
constexpr std::size_t descriptionNumbers = 7;

bool isBlank(char sign) {
  return sign == ' ' || sign == '\t';
}

bool isWholeNumber(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// For telling what a line is meant to be; whether the number is a good one is asked later.
bool looksLikeNumber(std::string_view text) {
  return text.find_first_not_of("0123456789.+-") == std::string_view::npos;
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

/// Cuts the next line off the text; a line ends in LF, CR LF or with the text.
std::string_view takeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

std::string_view firstWord(std::string_view text) {
  return text.substr(0, text.find_first_of(" \t"));
}

/// Cuts the next word off a line, with the blanks in front of it.
std::string_view takeWord(std::string_view& line) {
  while (!line.empty() && isBlank(line.front())) line.remove_prefix(1);
  const std::string_view word = firstWord(line);
  line.remove_prefix(word.size());
  return word;
}

Words wordsOf(std::string_view line) {
  Words words;
  for (std::string_view word = takeWord(line); !word.empty(); word = takeWord(line)) words.push_back(word);
  return words;
}

void checkUtf8(std::string_view line, const QString& place) {
  QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
  [[maybe_unused]] const QString decoded = decoder(QByteArrayView(line.data(), static_cast<qsizetype>(line.size())));
  if (decoder.hasError()) refuse(place, QStringLiteral("is not UTF-8: %1").arg(quoted(line)));
}

/// Whether the text from the first tab to the second one holds blanks, as only names behind a tab do.
bool holdsBlanksBetweenTabs(std::string_view line) {
  const std::size_t tab = line.find_first_of(" \t");
  if (tab == std::string_view::npos || line[tab] != '\t') return false;
  line.remove_prefix(tab + 1);
  return trimmed(line.substr(0, line.find('\t'))).find(' ') != std::string_view::npos;
}

bool looksLikeColorTable(std::string_view line, const Words& words) {
  return !holdsBlanksBetweenTabs(line) && words.size() == colorTableWords && !looksLikeNumber(words[1]) &&
         std::all_of(words.begin() + 2, words.end(), looksLikeNumber);
}

bool looksLikeDescription(const Words& words) {
  return words.size() > descriptionNumbers && words[descriptionNumbers].front() == '"' &&
         std::all_of(words.begin(), words.begin() + descriptionNumbers, looksLikeNumber);
}

std::uint32_t parseValue(std::string_view word, const QString& place) {
  std::int64_t value = 0;
  const char* const end = word.data() + word.size();
  const auto [stop, error] = std::from_chars(word.data(), end, value);
  const QString label = QStringLiteral("label value ") + quoted(word);
  if (stop != end || error == std::errc::invalid_argument) refuse(place, label + QStringLiteral(" is no whole number"));
  if (word.front() == '-') refuse(place, label + QStringLiteral(" is negative"));
  if (error == std::errc::result_out_of_range || value > LabelNames::largestValue) {
    refuse(place, label + QStringLiteral(" is larger than 2147483647"));
  }
  return static_cast<std::uint32_t>(value);
}

/// The words of one label that are numbers.
class Numbers {
public:
  Numbers(std::uint32_t value, const QString& place) : value_(value), place_(place) {}

  std::uint8_t part(const char* what, std::string_view word) const { return whole(what, word, 255); }

  LabelColor color(std::string_view red, std::string_view green, std::string_view blue) const {
    return {part("red", red), part("green", green), part("blue", blue)};
  }

  void checkSwitch(const char* what, std::string_view word) const { whole(what, word, 1); }

  void checkFraction(const char* what, std::string_view word) const {
    double number = 0;
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, number, std::chars_format::fixed);
    if (stop != end || error != std::errc()) fail(what, word, QStringLiteral("is no number"));
    if (!(number >= 0 && number <= 1)) fail(what, word, QStringLiteral("is not in 0 to 1"));
  }

private:
  std::uint8_t whole(const char* what, std::string_view word, unsigned largest) const {
    if (!isWholeNumber(word)) fail(what, word, QStringLiteral("is no whole number from 0 to %1").arg(largest));
    unsigned number = 0;
    const auto [stop, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc() || number > largest) fail(what, word, QStringLiteral("is larger than %1").arg(largest));
    return static_cast<std::uint8_t>(number);
  }

  [[noreturn]] void fail(const char* what, std::string_view word, const QString& why) const {
    refuse(place_, QStringLiteral("%1 %2 of label value %3 %4")
                       .arg(QLatin1String(what), quoted(word), QString::number(value_), why));
  }

  std::uint32_t value_;
  const QString& place_;
};

/// The name in what follows a value: up to the next tab after a tab; else without a whole number at its end.
std::string_view nameIn(std::string_view rest) {
  if (rest.starts_with('\t')) {
    rest.remove_prefix(1);
    return trimmed(rest.substr(0, rest.find('\t')));
  }
  rest = trimmed(rest);
  const std::size_t lastBlank = rest.find_last_of(" \t");
  if (lastBlank != std::string_view::npos && isWholeNumber(rest.substr(lastBlank + 1))) {
    return trimmed(rest.substr(0, lastBlank));
  }
  return rest;
}

LabelEntry parseName(std::uint32_t value, std::string_view rest, const QString& place) {
  const std::string_view name = nameIn(rest);
  if (name.empty()) refuse(place, QStringLiteral("label value %1 has no name").arg(value));
  if (isWholeNumber(firstWord(name))) {
    refuse(place, QStringLiteral("label value %1 is followed by the number %2 instead of a name")
                      .arg(QString::number(value), quoted(firstWord(name))));
  }
  return {value, name, std::nullopt};
}

LabelEntry parseColorTable(std::uint32_t value, std::string_view rest, const QString& place) {
  const Words words = wordsOf(rest);
  if (words.size() + 1 != colorTableWords) {
    refuse(place, QStringLiteral("label value %1: a name without blanks and four numbers are expected, got %2")
                      .arg(QString::number(value), quoted(trimmed(rest))));
  }
  const Numbers numbers(value, place);
  numbers.part("opacity", words[4]);
  return {value, words[0], numbers.color(words[1], words[2], words[3])};
}

LabelEntry parseDescription(std::uint32_t value, std::string_view rest, const QString& place) {
  const Numbers numbers(value, place);
  const std::string_view given = trimmed(rest);
  Words words;
  while (words.size() + 1 < descriptionNumbers) words.push_back(takeWord(rest));
  const std::string_view name = trimmed(rest);
  if (name.size() < 2 || name.front() != '"' || name.back() != '"') {
    refuse(place, QStringLiteral("label value %1: six numbers and a name in double quotes are expected, got %2")
                      .arg(QString::number(value), quoted(given)));
  }
  const LabelColor color = numbers.color(words[0], words[1], words[2]);
  numbers.checkFraction("opacity", words[3]);
  numbers.checkSwitch("visibility", words[4]);
  numbers.checkSwitch("mesh visibility", words[5]);
  return {value, trimmed(name.substr(1, name.size() - 2)), color};
}

}  // namespace

std::vector<LabelLine> labelLines(std::string_view text, const QString& source) {
  std::vector<LabelLine> lines;
  for (int number = 1; !text.empty(); ++number) {
    std::string_view line = takeLine(text);
    checkUtf8(line, source + QLatin1Char(':') + QString::number(number));
    while (!line.empty() && isBlank(line.front())) line.remove_prefix(1);
    if (!line.empty() && line.front() != '#') lines.push_back({line, number});
  }
  return lines;
}

LabelDialect dialectOf(const std::vector<LabelLine>& lines) {
  std::size_t colorTable = 0, descriptions = 0;
  for (const LabelLine& line : lines) {
    const Words words = wordsOf(line.text);
    colorTable += looksLikeColorTable(line.text, words);
    descriptions += looksLikeDescription(words);
  }
  if (lines.empty()) return LabelDialect::Names;
  if (2 * colorTable >= lines.size()) return LabelDialect::ColorTable;
  return 2 * descriptions >= lines.size() ? LabelDialect::Descriptions : LabelDialect::Names;
}

LabelEntry parseLabelLine(std::string_view line, LabelDialect dialect, const QString& place) {
  const std::string_view word = firstWord(line);
  const std::uint32_t value = parseValue(word, place);
  const std::string_view rest = line.substr(word.size());
  switch (dialect) {
    case LabelDialect::ColorTable:
      return parseColorTable(value, rest, place);
    case LabelDialect::Descriptions:
      return parseDescription(value, rest, place);
    case LabelDialect::Names:
      break;
  }
  return parseName(value, rest, place);
}

}  // namespace quarn::formats::detail
