#pragma once

#include <QString>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "quarn/kernel/export.h"
#include "quarn/kernel/objects/HxData.h"

/// A table: named columns of texts (UTF-8), integers or reals, and rows. A cell may be empty.
class QUARN_KERNEL_API HxTable : public HxData {
public:
  MC_CLASS_DECL(HxTable)

  enum class Kind { Text, Integer, Real };
  using Cell = std::variant<std::monostate, std::string, std::int64_t, double>;
  using Row = std::vector<Cell>;

  HxTable();

  /// Appends a column; rows that exist get an empty cell. Returns its index. `decimals` is how many digits of a real
  /// toText() shows behind the point, -1 for as many as it needs.
  int addColumn(const std::string& name, Kind kind, int decimals = -1);
  int columnCount() const { return static_cast<int>(columns_.size()); }
  const std::string& columnName(int column) const;
  Kind columnKind(int column) const;
  /// Leaves a column out of toText(); it stays in the table and in files.
  void hideInText(int column);
  /// Index of a column, -1 when there is none.
  int findColumn(const std::string& name) const;

  /// Appends a row; returns its index. Throws McException when the number of cells or the kind of one does not fit; an
  /// integer fits a column of reals.
  int addRow(Row row);
  int rowCount() const { return static_cast<int>(rows_.size()); }
  const Cell& cell(int row, int column) const;
  /// The cell as toText() has it.
  std::string cellText(int row, int column) const;
  /// Throws McException when the kind of `cell` does not fit the column, as addRow() does.
  void setCell(int row, int column, Cell cell);

  /// Removes rows and columns.
  void clear();

  /// Lines of aligned columns, numbers to the right; the first line holds the names, a rule follows.
  std::string toText() const;
  /// Comma-separated values as of RFC 4180: a header line, lines end in CR LF, texts quoted where needed; reals with a
  /// point, as short as they read back exactly.
  std::string toCsv() const;
  /// Writes toCsv() beside `fileName`, syncs and renames. Throws McException naming the file.
  void saveCsv(const QString& fileName) const;

  /// Adds: print, getColumns, getRowCount, getRow INDEX, getCell ROW COLUMN.
  int parse(Tcl_Interp* interp, int argc, char** argv) override;

protected:
  ~HxTable() override;

private:
  struct Column {
    std::string name;
    Kind kind;
    int decimals;
    bool hidden;
  };

  static void requireFitting(const Cell& cell, const Column& column);
  std::string display(const Cell& cell, const Column& column) const;
  int parseGetRow(Tcl_Interp* interp, char** argv);
  int parseGetCell(Tcl_Interp* interp, char** argv);

  std::vector<Column> columns_;
  std::vector<Row> rows_;
};
