#include "quarn/kernel/script/detail/TclText.h"

namespace quarn::detail {
namespace {

const QByteArray nulInTcl("\xC0\x80", 2);
const QByteArray nul(1, '\0');

}  // namespace

std::string toTcl(const QString& text) {
  return text.toUtf8().replace(nul, nulInTcl).toStdString();
}

QString fromTcl(const char* text, int length) {
  return QString::fromUtf8(QByteArray(text, length).replace(nulInTcl, nul));
}

QString fromTcl(Tcl_Obj* object) {
  int length = 0;
  const char* const text = Tcl_GetStringFromObj(object, &length);
  return fromTcl(text, length);
}

Tcl_Obj* newTclText(const QString& text) {
  const std::string utf8 = toTcl(text);
  return Tcl_NewStringObj(utf8.data(), static_cast<int>(utf8.size()));
}

Tcl_Obj* newTclList(const QStringList& list) {
  Tcl_Obj* const object = Tcl_NewListObj(0, nullptr);
  for (const QString& element : list) Tcl_ListObjAppendElement(nullptr, object, newTclText(element));
  return object;
}

}  // namespace quarn::detail
