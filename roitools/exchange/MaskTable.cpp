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

/// Reads a text of cells: commas and line ends part them; a cell that begins with a quote goes to the next one and may
/// hold both, and quotes doubled.
class CellReader {
public:
  CellReader(std::string_view text, const QString& file)
      : rest_(text), file_(McException::excerpt(file.toStdString())) {}

  /// The cells of the next line that has any; false at the end.
  bool next(Cells& cells) {
    do {
      if (rest_.empty()) return false;
      line_ = nextLine_;
      cells.assign(1, {});
      while (takeCell(cells)) cells.emplace_back();
    } while (cells.size() == 1 && cells.front().empty());
    return true;
  }

  /// Names the line where the cells begin.
  [[noreturn]] void refuse(const std::string& what, const std::string& value) const {
    throw McException(file_ + ":" + std::to_string(line_) + ": " + what + ", got \"" + McException::excerpt(value) +
                      "\"");
  }

private:
  /// Takes one cell and what ends it; true when another one follows on the line.
  bool takeCell(Cells& cells) {
    std::string& cell = cells.back();
    if (rest_.starts_with('"')) {
      takeQuoted(cell);
    } else {
      cell = take(std::min(rest_.find_first_of(",\n"), rest_.size()));
      if (cell.ends_with('\r') && !rest_.starts_with(',')) cell.pop_back();
    }
    if (rest_.empty()) return false;
    return take(1) == ",";
  }

  void takeQuoted(std::string& cell) {
    for (;;) {
      rest_.remove_prefix(1);
      const std::size_t end = rest_.find('"');
      if (end == std::string_view::npos) refuse("a quote has no end", std::string(rest_));
      cell += take(end);
      rest_.remove_prefix(1);
      if (!rest_.starts_with('"')) break;
      cell += '"';
    }
    if (rest_.starts_with("\r\n")) rest_.remove_prefix(1);
    if (!rest_.empty() && rest_.front() != ',' && rest_.front() != '\n')
      refuse("a comma or the end of the line must follow a quote", std::string(rest_.substr(0, rest_.find('\n'))));
  }

  std::string take(std::size_t length) {
    std::string text(rest_.substr(0, length));
    rest_.remove_prefix(length);
    nextLine_ += static_cast<int>(std::ranges::count(text, '\n'));
    return text;
  }

  std::string_view rest_;
  const std::string file_;
  int line_ = 1;      ///< of the first cell taken last
  int nextLine_ = 1;  ///< of the rest
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
