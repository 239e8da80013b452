#include "quarn/formats/LabelNames.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>
#include <algorithm>
#include <charconv>
#include <system_error>

#include "quarn/formats/detail/fault.h"

namespace quarn::formats {

namespace {

using detail::quoted;
using detail::refuse;

constexpr qint64 largestFile = 16 * 1024 * 1024;

bool isBlank(char sign) {
  return sign == ' ' || sign == '\t';
}

bool isWholeNumber(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
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

void checkUtf8(std::string_view line, const QString& place) {
  QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
  [[maybe_unused]] const QString decoded = decoder(QByteArrayView(line.data(), static_cast<qsizetype>(line.size())));
  if (decoder.hasError()) refuse(place, QStringLiteral("is not UTF-8: %1").arg(quoted(line)));
}

struct Entry {
  std::uint32_t value;
  std::string_view name;
};

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

Entry parseEntry(std::string_view line, const QString& place) {
  const std::string_view word = firstWord(line);
  const std::uint32_t value = parseValue(word, place);
  const std::string_view name = nameIn(line.substr(word.size()));
  if (name.empty()) refuse(place, QStringLiteral("label value %1 has no name").arg(value));
  if (isWholeNumber(firstWord(name))) {
    refuse(place, QStringLiteral("label value %1 is followed by the number %2 instead of a name")
                      .arg(QString::number(value), quoted(firstWord(name))));
  }
  return {value, name};
}

}  // namespace

LabelNames LabelNames::read(const QString& file) {
  const QFileInfo info(file);
  if (!info.exists()) refuse(file, QStringLiteral("does not exist"));
  if (!info.isFile()) refuse(file, QStringLiteral("is not a file"));
  QFile stream(file);
  if (!stream.open(QIODevice::ReadOnly)) refuse(file, QStringLiteral("cannot be read: ") + stream.errorString());
  const QByteArray text = stream.read(largestFile + 1);
  if (stream.error() != QFileDevice::NoError) {
    refuse(file, QStringLiteral("cannot be read: ") + stream.errorString());
  }
  if (text.size() > largestFile) refuse(file, QStringLiteral("is larger than 16 MiB: no list of label names"));
  return parse({text.constData(), static_cast<std::size_t>(text.size())}, file);
}

LabelNames LabelNames::parse(std::string_view text, const QString& source) {
  LabelNames result;
  std::map<std::uint32_t, int> lineOf;
  text = checkedText(text, source);
  for (int lineNumber = 1; !text.empty(); ++lineNumber) {
    const QString place = source + QLatin1Char(':') + QString::number(lineNumber);
    const std::string_view rawLine = takeLine(text);
    checkUtf8(rawLine, place);
    std::string_view line = rawLine;
    while (!line.empty() && isBlank(line.front())) line.remove_prefix(1);
    if (line.empty() || line.front() == '#') continue;
    const Entry entry = parseEntry(line, place);
    const auto [first, isNew] = lineOf.emplace(entry.value, lineNumber);
    if (!isNew) {
      refuse(place, QStringLiteral("label value %1 was named before, in line %2").arg(entry.value).arg(first->second));
    }
    result.names_.emplace(entry.value, entry.name);
  }
  if (result.names_.empty()) refuse(source, QStringLiteral("names no label"));
  return result;
}

const std::string* LabelNames::find(std::uint32_t value) const {
  const auto found = names_.find(value);
  return found == names_.end() ? nullptr : &found->second;
}

}  // namespace quarn::formats
