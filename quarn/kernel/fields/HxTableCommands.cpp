#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/HxTable.h"
#include "quarn/kernel/script/HxWordCommands.h"

namespace {

void appendCell(Tcl_Interp* interp, const HxTable::Cell& cell) {
  if (const auto* text = std::get_if<std::string>(&cell)) {
    Tcl_VaAppendElement(interp, "%s", text->c_str());
  } else if (const auto* number = std::get_if<std::int64_t>(&cell)) {
    Tcl_VaAppendElement(interp, "%lld", static_cast<long long>(*number));
  } else if (const auto* real = std::get_if<double>(&cell)) {
    Tcl_VaAppendElement(interp, "%s", HxParameter::printReal(*real).c_str());
  } else {
    Tcl_VaAppendElement(interp, "%s", "");
  }
}

/// The number in a word when it is below `end`; -1 otherwise.
int indexBelow(int end, const char* word) {
  bool isNumber;
  const int index = QString::fromUtf8(word).toInt(&isNumber);
  return isNumber && index >= 0 && index < end ? index : -1;
}

QString rowsText(int rows) {
  return rows > 0 ? QStringLiteral("a row from 0 to %1").arg(rows - 1) : QStringLiteral("no row");
}

QString columnsText(const HxTable& table) {
  return table.columnCount() > 0 ? QStringLiteral("a column by its name or from 0 to %1").arg(table.columnCount() - 1)
                                 : QStringLiteral("no column");
}

}  // namespace

int HxTable::parse(Tcl_Interp* interp, int argc, char** argv) {
  static constexpr HxWordCommand<HxTable> kCommands[] = {
      {{"print", "", 0, 0, "Prints the table."},
       [](HxTable& table, const HxWords&) {
         HxMessage::printf("%s", table.toText().c_str());
         return TCL_OK;
       }},
      {{"getColumns", "", 0, 0, "Returns the names of the columns."},
       [](HxTable& table, const HxWords& words) {
         for (const Column& column : table.columns_) words.append(QString::fromStdString(column.name));
         return TCL_OK;
       }},
      {{"getRowCount", "", 0, 0, "Returns the number of rows."},
       [](HxTable& table, const HxWords& words) { return words.append(QString::number(table.rowCount())); }},
      {{"getRow", "ROW", 1, 1, "Returns the cells of a row; the first row is 0. Cells without a value are empty."},
       [](HxTable& table, const HxWords& words) { return table.parseGetRow(words.interp, words.argv); }},
      {{"getCell", "ROW COLUMN", 2, 2, "Returns a cell; columns have names and numbers, the first is 0."},
       [](HxTable& table, const HxWords& words) { return table.parseGetCell(words.interp, words.argv); }},
  };
  getCmdInfo().note("getRow", "ROW is " + rowsText(rowCount()));
  if (argc < 2) {
    QStringList names;
    for (const Column& column : columns_) names += QString::fromStdString(column.name);
    getCmdInfo().offer("COLUMN", names);
  }
  const auto code = runWordCommand(kCommands, "HxTable", *this, HxWords{interp, argc, argv});
  return code ? *code : HxData::parse(interp, argc, argv);
}

int HxTable::parseGetRow(Tcl_Interp* interp, char** argv) {
  const int row = indexBelow(rowCount(), argv[2]);
  if (row < 0) return HxWords::refuse(argv[1], argv[2], rowsText(rowCount()));
  for (const Cell& cell : rows_[static_cast<std::size_t>(row)]) appendCell(interp, cell);
  return TCL_OK;
}

int HxTable::parseGetCell(Tcl_Interp* interp, char** argv) {
  const int row = indexBelow(rowCount(), argv[2]);
  if (row < 0) return HxWords::refuse(argv[1], argv[2], rowsText(rowCount()));
  const int named = findColumn(argv[3]);
  const int column = named >= 0 ? named : indexBelow(columnCount(), argv[3]);
  if (column < 0) return HxWords::refuse(argv[1], argv[3], columnsText(*this));
  appendCell(interp, cell(row, column));
  return TCL_OK;
}
