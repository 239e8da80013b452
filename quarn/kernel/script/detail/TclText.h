#pragma once

#include <QString>
#include <QStringList>
#include <string>
#include <tcl.h>

/// Texts on their way into Tcl and out of it. Tcl writes a NUL inside a text as the two bytes C0 80.
namespace quarn::detail {

std::string toTcl(const QString& text);
QString fromTcl(const char* text, int length);
QString fromTcl(Tcl_Obj* object);

Tcl_Obj* newTclText(const QString& text);
Tcl_Obj* newTclList(const QStringList& list);

}  // namespace quarn::detail
