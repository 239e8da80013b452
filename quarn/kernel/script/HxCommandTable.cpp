#include "quarn/kernel/script/HxCommandTable.h"

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/io/HxRecovery.h"
#include "quarn/kernel/script/detail/CommandDepth.h"
#include "quarn/kernel/script/detail/TclText.h"
#include "quarn/kernel/script/detail/hostCommands.h"

namespace {

using quarn::detail::CommandDepth;
using quarn::detail::fromTcl;
using quarn::detail::newTclList;
using quarn::detail::newTclText;
using quarn::detail::toTcl;

QStringList wordsAfterName(int objc, Tcl_Obj* const objv[]) {
  QStringList words;
  for (int i = 1; i < objc; ++i) words.append(fromTcl(objv[i]));
  return words;
}

bool fits(const HxCommandRow& row, qsizetype count) {
  return count >= row.minWords && (row.maxWords < 0 || count <= row.maxWords);
}

int callRow(const HxCommandRow& row, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
  Tcl_ResetResult(interp);
  try {
    HxCommandCall call(interp, wordsAfterName(objc, objv));
    if (!fits(row, call.words().size())) throw McException("usage: " + row.synopsis().toStdString());
    row.handler(call);
    return TCL_OK;
  } catch (const std::exception& error) {
    Tcl_SetObjResult(interp, newTclText(QString::fromUtf8(error.what())));
  } catch (...) {
    Tcl_SetObjResult(interp, newTclText(QStringLiteral("unknown failure")));
  }
  return TCL_ERROR;
}

int runRow(ClientData data, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
  const CommandDepth depth;
  const int code = callRow(*static_cast<const HxCommandRow*>(data), interp, objc, objv);
  HxMessage::flushStream();
  if (depth.isOutermost()) HxRecovery::instance().checkpointIfDue();
  return code;
}

void makeCommand(Tcl_Interp* interp, const HxCommandRow& row) {
  Tcl_CreateObjCommand(interp, toTcl(row.name).c_str(), runRow, const_cast<HxCommandRow*>(&row), nullptr);
}

}  // namespace

void HxCommandCall::setResult(const QString& text) {
  Tcl_SetObjResult(interp_, newTclText(text));
}
void HxCommandCall::setResult(const QStringList& list) {
  Tcl_SetObjResult(interp_, newTclList(list));
}

QString HxCommandRow::synopsis() const {
  return words.isEmpty() ? name : name + QLatin1Char(' ') + words;
}

HxCommandTable::HxCommandTable() {
  for (HxCommandRow& row : quarn::detail::hostCommands()) add(std::move(row));
}

HxCommandTable& HxCommandTable::instance() {
  static HxCommandTable table;
  return table;
}

void HxCommandTable::add(HxCommandRow row) {
  if (find(row.name)) throw McException("there is a command named \"" + row.name.toStdString() + "\" already");
  rows_.push_back(std::move(row));
  if (interp_) makeCommand(interp_, rows_.back());
}

const HxCommandRow* HxCommandTable::find(const QString& name) const {
  for (const HxCommandRow& row : rows_)
    if (row.name == name) return &row;
  return nullptr;
}

QString HxCommandTable::tclRename() {
  return QStringLiteral("::tcl::renameCommand");
}

void HxCommandTable::attach(Tcl_Interp* interp) {
  interp_ = interp;
  Tcl_Eval(interp, toTcl("rename rename " + tclRename()).c_str());
  for (const HxCommandRow& row : rows_) makeCommand(interp, row);
}
