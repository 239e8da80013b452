#include "roitools/exchange/MaskTable.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

#include "quarn/base/McException.h"

namespace roitools {

namespace {

using Cells = std::vector<std::string>;

const Cells header = {"file", "name", "group", "red", "green", "blue"};

std::string numberText(float number) {
  char buffer[32];
  return {buffer, std::to_chars(buffer, buffer + sizeof buffer, number).ptr};
}

std::string quoted(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string cell = "\"";
  for (const char c : text) cell += c == '"' ? std::string("\"\"") : std::string(1, c);
  return cell + "\"";
}

std::string lineOf(const Cells& cells) {
  std::string line;
  for (const std::string& cell : cells) line += (&cell == &cells.front() ? "" : ",") + quoted(cell);
  return line + "\n";
}

/// Reads a text of cells: commas and line ends part them, quotes hold both.
class CellReader {
public:
  CellReader(std::string_view text, const QString& file)
      : rest_(text), file_(McException::excerpt(file.toStdString())) {}

  /// The cells of the next line that has any; false at the end.
  bool next(Cells& cells) {
    do {
      if (rest_.empty()) return false;
      ++line_;
      cells.assign(1, {});
      while (takeCell(cells)) cells.emplace_back();
    } while (cells.size() == 1 && cells.front().empty());
    return true;
  }

  [[noreturn]] void refuse(const std::string& what, const std::string& value) const {
    throw McException(file_ + ":" + std::to_string(line_) + ": " + what + ", got \"" + McException::excerpt(value) +
                      "\"");
  }

private:
  /// Takes one cell and what ends it; true when another one follows on the line.
  bool takeCell(Cells& cells) {
    std::string& cell = cells.back();
    bool isQuoted = false;
    while (!rest_.empty()) {
      const char c = rest_.front();
      rest_.remove_prefix(1);
      if (c == '"' && isQuoted && rest_.starts_with('"')) {
        cell += c;
        rest_.remove_prefix(1);
      } else if (c == '"') {
        isQuoted = !isQuoted;
      } else if (!isQuoted && c == ',') {
        return true;
      } else if (!isQuoted && c == '\n') {
        if (cell.ends_with('\r')) cell.pop_back();
        return false;
      } else {
        cell += c;
      }
    }
    if (isQuoted) refuse("a quote has no end", cell);
    return false;
  }

  std::string_view rest_;
  const std::string file_;
  int line_ = 0;
};

float channel(const std::string& cell, const CellReader& reader) {
  float number = 0;
  const char* const end = cell.data() + cell.size();
  const auto [stopped, error] = std::from_chars(cell.data(), end, number);
  if (error != std::errc() || stopped != end || !(number >= 0 && number <= 1))
    reader.refuse("colours are numbers from 0 to 1", cell);
  return number;
}

void requirePlainName(const std::string& name, const CellReader& reader) {
  const auto isBad = [](char c) { return c == '/' || c == '\\' || static_cast<unsigned char>(c) < 0x20; };
  if (name == "." || name == ".." || name.size() > 255 || std::ranges::any_of(name, isBad))
    reader.refuse("the plain name of a file in the same folder is expected", name);
}

}  // namespace

MaskTable MaskTable::parse(const QByteArray& text, const QString& file) {
  std::string_view content(text.constData(), static_cast<std::size_t>(text.size()));
  if (content.starts_with("\xef\xbb\xbf")) content.remove_prefix(3);
  CellReader reader(content, file);
  Cells cells;
  if (!reader.next(cells) || cells != header)
    reader.refuse("is no table of masks: it does not begin with \"file,name,group,red,green,blue\"",
                  cells.empty() ? "" : cells.front());
  MaskTable table;
  while (reader.next(cells)) {
    if (cells.size() != header.size()) reader.refuse("6 cells are expected", std::to_string(cells.size()));
    requirePlainName(cells[0], reader);
    if (cells[0].empty() && cells[2].empty()) reader.refuse("neither a mask nor a group", lineOf(cells));
    table.rows.push_back({cells[0], cells[1], cells[2],
                          McColor(channel(cells[3], reader), channel(cells[4], reader), channel(cells[5], reader))});
  }
  return table;
}

QByteArray MaskTable::toText() const {
  std::string text = lineOf(header);
  for (const Row& row : rows)
    text += lineOf(
        {row.file, row.name, row.group, numberText(row.color.r), numberText(row.color.g), numberText(row.color.b)});
  return QByteArray::fromStdString(text);
}

}  // namespace roitools
