#include "quarn/kernel/script/detail/ScriptLocation.h"

#include <QRegularExpression>
#include <algorithm>

namespace quarn::detail {

namespace {

/// Where the places begin: the message may hold anything.
qsizetype endOfMessage(const QString& trace, const QString& message) {
  return trace.startsWith(message) ? message.size() : 0;
}

/// Tcl cuts long names.
QString fullName(const QString& file, const QString& fileName) {
  const QString cutMark = QStringLiteral("...");
  const bool isCut = file.endsWith(cutMark) && fileName.startsWith(file.chopped(cutMark.size()));
  return isCut ? fileName : file;
}

}  // namespace

ScriptLocation innermostLocation(const QString& trace, const QString& message, const QString& fileName) {
  static const QRegularExpression frame(QStringLiteral(R"re(^    \((?:(file|procedure) "(.*)"|.+) line (\d+)\)$)re"),
                                        QRegularExpression::MultilineOption);
  int linesInside = 0;
  for (auto frames = frame.globalMatch(trace, endOfMessage(trace, message)); frames.hasNext();) {
    const QRegularExpressionMatch match = frames.next();
    const int line = match.captured(3).toInt();
    if (match.captured(1) == QLatin1String("file")) return {fullName(match.captured(2), fileName), line + linesInside};
    // Lines of a block count from the one in which it begins, those of a procedure tell nothing of the file.
    linesInside = match.captured(1).isEmpty() ? linesInside + std::max(line - 1, 0) : 0;
  }
  return {fileName, 0};
}

QString failedCommand(const QString& trace, const QString& message) {
  static const QRegularExpression words(QStringLiteral(R"re(\G\n    while executing\n"(.*))re"));
  const QRegularExpressionMatch match = words.match(trace, endOfMessage(trace, message));
  if (!match.hasMatch()) return {};
  QString command = match.captured(1);
  if (command.endsWith('"')) {
    command.chop(1);
  } else {
    command += QStringLiteral(" ...");
  }
  return command;
}

QStringList procedures(const QString& trace, const QString& message) {
  static const QRegularExpression frame(QStringLiteral(R"re(^    \(procedure "(.*)" line (\d+)\)$)re"),
                                        QRegularExpression::MultilineOption);
  QStringList found;
  for (auto matches = frame.globalMatch(trace, endOfMessage(trace, message)); matches.hasNext();) {
    const QRegularExpressionMatch match = matches.next();
    found.append(QStringLiteral("%1, line %2").arg(match.captured(1), match.captured(2)));
  }
  return found;
}

}  // namespace quarn::detail
