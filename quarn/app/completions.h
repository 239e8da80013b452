#pragma once

#include <QByteArray>
#include <QStringList>
#include <vector>

namespace quarn::app {

/// The finished words of the last command in `before`, the text up to the word that is being typed (UTF-8).
QStringList finishedWords(QByteArray before);

/// Words that begin with `begun` and may follow `words`: commands of Tcl, the host and objects where there are none.
std::vector<QByteArray> completions(const QStringList& words, const QByteArray& begun);

}  // namespace quarn::app
