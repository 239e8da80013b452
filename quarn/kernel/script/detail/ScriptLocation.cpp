#include "quarn/kernel/script/detail/ScriptLocation.h"

#include <QRegularExpression>

namespace quarn::detail {

namespace {

/// Where the places begin: the message may hold anything.
qsizetype endOfMessage(const QString& trace, const QString& message) {
  return trace.startsWith(message) ? message.size() : 0;
}

}  // namespace

ScriptLocation innermostLocation(const QString& trace, const QString& message, const QString& fileName) {
  static const QRegularExpression place(QStringLiteral(R"re(^    \(file "(.*)" line (\d+)\)$)re"),
                                        QRegularExpression::MultilineOption);
  const QRegularExpressionMatch match = place.match(trace, endOfMessage(trace, message));
  if (!match.hasMatch()) return {fileName, 0};
  QString file = match.captured(1);
  const QString cutMark = QStringLiteral("...");
  if (file.endsWith(cutMark) && fileName.startsWith(file.chopped(cutMark.size()))) file = fileName;
  return {file, match.captured(2).toInt()};
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
