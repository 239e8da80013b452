#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/HxTable.h"
#include "quarn/kernel/script/HxCommands.h"

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

}  // namespace

int HxTable::parse(Tcl_Interp* interp, int argc, char** argv) {
  const QString word = argc > 1 ? QString::fromUtf8(argv[1]) : QString();
  const auto is = [&](const char* name, const char* synopsis) { return cmdCheck(word, name, synopsis) != 0; };
  const auto run = [&](int words, auto command) {
    const int form = cmdHelp(interp, argv[1], argc == words, argc, argv);
    return form == HX_CMD_GO_ON ? command() : form;
  };

  if (is("print", "")) {
    return run(2, [&] {
      HxMessage::printf("%s", toText().c_str());
      return TCL_OK;
    });
  }
  if (is("getColumns", "")) {
    return run(2, [&] {
      for (const Column& column : columns_) Tcl_VaAppendElement(interp, "%s", column.name.c_str());
      return TCL_OK;
    });
  }
  if (is("getRowCount", "")) {
    return run(2, [&] {
      Tcl_VaAppendElement(interp, "%d", rowCount());
      return TCL_OK;
    });
  }
  if (is("getRow", "ROW")) return run(3, [&] { return parseGetRow(interp, argv); });
  if (is("getCell", "ROW COLUMN")) return run(4, [&] { return parseGetCell(interp, argv); });
  return HxData::parse(interp, argc, argv);
}

int HxTable::parseGetRow(Tcl_Interp* interp, char** argv) {
  const int row = indexBelow(rowCount(), argv[2]);
  if (row < 0) return cmdError(interp, HX_CMD_WRONG_VALUE, "getRow");
  for (const Cell& cell : rows_[static_cast<std::size_t>(row)]) appendCell(interp, cell);
  return TCL_OK;
}

int HxTable::parseGetCell(Tcl_Interp* interp, char** argv) {
  const int row = indexBelow(rowCount(), argv[2]);
  const int named = findColumn(argv[3]);
  const int column = named >= 0 ? named : indexBelow(columnCount(), argv[3]);
  if (row < 0 || column < 0) return cmdError(interp, HX_CMD_WRONG_VALUE, "getCell");
  appendCell(interp, cell(row, column));
  return TCL_OK;
}
