#include "quarn/kernel/script/HxWordCommands.h"

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/script/detail/TclText.h"

QStringList HxWords::texts(int first) const {
  QStringList list;
  for (int i = first; i < count(); ++i) list += text(i);
  return list;
}

int HxWords::answer(const QString& text) const {
  Tcl_SetObjResult(interp, quarn::detail::newTclText(text));
  return TCL_OK;
}

int HxWords::append(const QString& text) const {
  Tcl_VaAppendElement(interp, "%s", quarn::detail::toTcl(text).c_str());
  return TCL_OK;
}

int HxWords::append(const QStringList& texts) const {
  for (const QString& text : texts) append(text);
  return TCL_OK;
}

int HxWords::refuse(const char* command, const QString& value, const QString& expected) {
  HxMessage::printf("%s: wrong value \"%s\": %s is expected", McException::excerpt(command).c_str(),
                    McException::excerpt(value.toStdString()).c_str(), qUtf8Printable(expected));
  return TCL_ERROR;
}

int HxWords::checkForm(const HxCommandText& text) const {
  return text.fits(count()) ? HX_CMD_GO_ON : cmdHelp(interp, argv[1], false, argc, argv);
}
