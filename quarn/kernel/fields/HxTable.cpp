#include "quarn/kernel/fields/HxTable.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxFileHelpers.h"

MC_CLASS_IMPL(HxTable, HxData)

namespace {

bool fits(const HxTable::Cell& cell, HxTable::Kind kind) {
  if (std::holds_alternative<std::monostate>(cell)) return true;
  switch (kind) {
    case HxTable::Kind::Text:
      return std::holds_alternative<std::string>(cell);
    case HxTable::Kind::Integer:
      return std::holds_alternative<std::int64_t>(cell);
    case HxTable::Kind::Real:
      return !std::holds_alternative<std::string>(cell);
  }
  return false;
}

/// The cell as it is written to files: exact.
std::string plainText(const HxTable::Cell& cell) {
  if (const auto* text = std::get_if<std::string>(&cell)) return *text;
  if (const auto* number = std::get_if<std::int64_t>(&cell)) return std::to_string(*number);
  if (const auto* real = std::get_if<double>(&cell)) return HxParameter::printReal(*real);
  return {};
}

std::string fixedPoint(double real, int decimals) {
  // The largest double has 309 digits before the point.
  std::array<char, 400> buffer;
  const auto end =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), real, std::chars_format::fixed, decimals).ptr;
  return {buffer.data(), end};
}

/// Characters of a UTF-8 text, which is what counts for its width.
std::size_t width(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

/// One line must stay one line.
std::string onOneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, ' ');
  return text;
}

std::string csvField(const std::string& text) {
  const bool isPlain = text.find_first_of(",\"\r\n") == text.npos;
  if (isPlain) return text;
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + "\"";
}

template <class Fields, class ToText>
void appendCsvLine(std::string& csv, const Fields& fields, ToText toText) {
  bool isFirst = true;
  for (const auto& field : fields) {
    if (!std::exchange(isFirst, false)) csv += ',';
    csv += csvField(toText(field));
  }
  csv += "\r\n";
}

}  // namespace

HxTable::HxTable() = default;

HxTable::~HxTable() = default;

int HxTable::addColumn(const std::string& name, Kind kind, int decimals) {
  columns_.push_back({name, kind, std::min(decimals, 60), false});
  for (Row& row : rows_) row.emplace_back();
  return columnCount() - 1;
}

const std::string& HxTable::columnName(int column) const {
  return columns_.at(static_cast<std::size_t>(column)).name;
}

HxTable::Kind HxTable::columnKind(int column) const {
  return columns_.at(static_cast<std::size_t>(column)).kind;
}

void HxTable::hideInText(int column) {
  columns_.at(static_cast<std::size_t>(column)).hidden = true;
}

int HxTable::findColumn(const std::string& name) const {
  const auto found =
      std::find_if(columns_.begin(), columns_.end(), [&](const Column& column) { return column.name == name; });
  return found == columns_.end() ? -1 : static_cast<int>(found - columns_.begin());
}

int HxTable::addRow(Row row) {
  if (row.size() != columns_.size()) {
    throw McException("A row of " + std::to_string(row.size()) + " cells does not fit a table of " +
                      std::to_string(columns_.size()) + " columns.");
  }
  for (std::size_t i = 0; i < row.size(); ++i) requireFitting(row[i], columns_[i]);
  rows_.push_back(std::move(row));
  return rowCount() - 1;
}

const HxTable::Cell& HxTable::cell(int row, int column) const {
  return rows_.at(static_cast<std::size_t>(row)).at(static_cast<std::size_t>(column));
}

std::string HxTable::cellText(int row, int column) const {
  return display(cell(row, column), columns_.at(static_cast<std::size_t>(column)));
}

void HxTable::setCell(int row, int column, Cell cell) {
  requireFitting(cell, columns_.at(static_cast<std::size_t>(column)));
  rows_.at(static_cast<std::size_t>(row)).at(static_cast<std::size_t>(column)) = std::move(cell);
}

void HxTable::requireFitting(const Cell& cell, const Column& column) {
  if (fits(cell, column.kind)) return;
  throw McException("\"" + McException::excerpt(plainText(cell)) + "\" does not fit column \"" + column.name +
                    "\" of the table.");
}

void HxTable::clear() {
  rows_.clear();
  columns_.clear();
}

std::string HxTable::display(const Cell& cell, const Column& column) const {
  const auto* real = std::get_if<double>(&cell);
  if (real && column.decimals >= 0) return fixedPoint(*real, column.decimals);
  return onOneLine(plainText(cell));
}

std::string HxTable::toText() const {
  if (columns_.empty()) return {};
  std::vector<std::string> lines(rows_.size() + 2);
  for (std::size_t c = 0; c < columns_.size(); ++c) {
    const Column& column = columns_[c];
    if (column.hidden) continue;
    std::vector<std::string> texts{onOneLine(column.name), {}};
    for (const Row& row : rows_) texts.push_back(display(row[c], column));
    std::size_t widest = 0;
    for (const std::string& text : texts) widest = std::max(widest, width(text));
    texts[1].assign(widest, '-');

    for (std::size_t i = 0; i < texts.size(); ++i) {
      const std::string padding(widest - width(texts[i]), ' ');
      if (c > 0) lines[i] += "  ";
      lines[i] += column.kind == Kind::Text ? texts[i] + padding : padding + texts[i];
    }
  }
  std::string table;
  for (std::string& line : lines) {
    line.erase(line.find_last_not_of(' ') + 1);
    table += line + "\n";
  }
  return table;
}

std::string HxTable::toCsv() const {
  std::string csv;
  appendCsvLine(csv, columns_, [](const Column& column) { return column.name; });
  for (const Row& row : rows_) appendCsvLine(csv, row, plainText);
  return csv;
}

void HxTable::saveCsv(const QString& fileName) const {
  HxFileHelpers::replaceFile(fileName, QByteArray::fromStdString(toCsv()));
}
