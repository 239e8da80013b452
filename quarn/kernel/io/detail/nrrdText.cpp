#include <algorithm>
#include <charconv>

#include "quarn/base/McException.h"
#include "quarn/kernel/io/NrrdHeader.h"
#include "quarn/kernel/io/detail/nrrdWords.h"

namespace quarn {

namespace {

std::string textOf(double number) {
  char buffer[32];
  return {buffer, std::to_chars(buffer, buffer + sizeof buffer, number).ptr};
}

std::string textOf(const NrrdHeader::Vector& vector) {
  std::string text = "(";
  for (std::size_t i = 0; i < vector.size(); ++i) text += (i > 0 ? "," : "") + textOf(vector[i]);
  return text + ")";
}

/// The first word of a list that stands for a value.
template <class Words, class Value>
std::string wordOf(const Words& words, Value value) {
  return std::string(std::ranges::find_if(words, [&](const auto& word) { return word.value == value; })->name);
}

std::string withEscapes(const std::string& plain) {
  std::string text;
  for (const char c : plain) {
    if (c == '\\')
      text += "\\\\";
    else if (c == '\n')
      text += "\\n";
    else
      text += c;
  }
  return text;
}

/// Fields one after the other; empty ones are left out.
class Lines {
public:
  void add(const std::string& name, const std::string& value) {
    if (!value.empty()) text += name + ": " + value + "\n";
  }
  template <class List, class ToText>
  void addList(const std::string& name, const List& list, ToText toText) {
    std::string value;
    for (const auto& item : list) value += (value.empty() ? "" : " ") + toText(item);
    add(name, value);
  }

  std::string text;
};

void addSpace(const NrrdHeader& header, Lines& lines) {
  lines.add("space", header.space);
  if (header.space.empty() && header.spaceDimension != 0)
    lines.add("space dimension", std::to_string(header.spaceDimension));
}

}  // namespace

std::string NrrdHeader::toText(const QString& file) const {
  Lines lines;
  lines.text = std::string(detail::nrrd::magic) + std::to_string(version) + "\n";
  lines.add("type", nameOf(type));
  lines.add("dimension", std::to_string(sizes.size()));
  addSpace(*this, lines);
  lines.addList("sizes", sizes, [](std::int64_t size) { return std::to_string(size); });
  lines.addList("space directions", spaceDirections,
                [](const auto& vector) { return vector ? textOf(*vector) : std::string("none"); });
  lines.addList("spacings", spacings, [](double spacing) { return textOf(spacing); });
  lines.addList("kinds", kinds, [](const std::string& kind) { return kind; });
  if (endian != Endian::unstated) lines.add("endian", wordOf(detail::nrrd::endianWords, endian));
  lines.add("encoding", wordOf(detail::nrrd::encodingWords, encoding));
  if (!spaceOrigin.empty()) lines.add("space origin", textOf(spaceOrigin));
  if (lineSkip != 0) lines.add("line skip", std::to_string(lineSkip));
  if (byteSkip != 0) lines.add("byte skip", std::to_string(byteSkip));
  lines.add("data file", dataFile);
  for (const auto& [key, value] : keyValues) lines.text += withEscapes(key) + ":=" + withEscapes(value) + "\n";
  if (dataFile.empty()) lines.text += "\n";
  // What has no place in the format, such as a key with a colon, shows when the text is read.
  const NrrdHeader again = parse(lines.text, file);
  for (std::size_t i = 0; i < keyValues.size(); ++i)
    if (i >= again.keyValues.size() || again.keyValues[i] != keyValues[i])
      throw McException(
          McException::excerpt(file.toStdString()) + ": key \"" + McException::excerpt(keyValues[i].first) +
          "\": an NRRD header cannot hold it with the value \"" + McException::excerpt(keyValues[i].second) + "\"");
  return lines.text;
}

}  // namespace quarn
