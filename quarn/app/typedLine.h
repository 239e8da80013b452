#pragma once

#include <QByteArray>
#include <QStringList>

namespace quarn::app {

/// The last command of a line that is still being typed.
struct TypedLine {
  QStringList words;      ///< the finished words, without the quotation marks or braces around them
  bool isQuoted = false;  ///< whether the line ends in a word that a quotation mark began
};

/// Takes the text of a line up to some place (UTF-8) apart as Tcl would. The last command is the innermost one in
/// square brackets, or in braces that are still open. What a bracketed command would give stands in its word as it was
/// typed.
TypedLine readTypedLine(const QByteArray& line);

}  // namespace quarn::app
