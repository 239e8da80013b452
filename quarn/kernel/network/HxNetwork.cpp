#include "quarn/kernel/network/HxNetwork.h"

#include <QFileInfo>
#include <QRegularExpression>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxFileHelpers.h"
#include "quarn/kernel/network/detail/NetworkReader.h"
#include "quarn/kernel/network/detail/NetworkWriter.h"

using quarn::detail::NetworkReader;
using quarn::detail::NetworkWriter;

namespace {

constexpr int kVersion = 1;
constexpr qint64 kMaximumBytes = qint64{64} << 20;

std::string excerpt(const QString& text) {
  return McException::excerpt(text.toStdString());
}

QString firstLine() {
  return QString("# quarn network %1").arg(kVersion);
}

/// Where a file is that may be named by a link, or a link to a link, also one that leads to nothing yet. Files beside a
/// network are named as seen from there, whichever way it is called.
QString behindLinks(QString file) {
  constexpr int kMostLinks = 40;
  for (int n = 0; n < kMostLinks && QFileInfo(file).isSymLink(); ++n) file = QFileInfo(file).symLinkTarget();
  return file;
}

/// Refused connections tell their reason while this lives.
class LoadingFlag {
public:
  LoadingFlag() : former_(HxApplication::instance()->isLoadingNetwork()) {
    HxApplication::instance()->setLoadingNetwork(true);
  }
  ~LoadingFlag() { HxApplication::instance()->setLoadingNetwork(former_); }
  LoadingFlag(const LoadingFlag&) = delete;
  LoadingFlag& operator=(const LoadingFlag&) = delete;

private:
  const bool former_;
};

void requireKnownVersion(const QString& file, const QString& text) {
  static const QRegularExpression form("^# quarn network (\\d+)$");
  const QString line = text.section('\n', 0, 0).trimmed();
  const QRegularExpressionMatch match = form.match(line);
  if (match.hasMatch() && match.captured(1).toInt() == kVersion) return;
  const std::string place = excerpt(file) + ":1: \"" + excerpt(line) + "\": ";
  if (match.hasMatch()) throw McException(place + "this version of networks is not known here");
  throw McException(place + "is no network: \"" + firstLine().toStdString() + "\" is expected");
}

}  // namespace

QString HxNetwork::suffix() {
  return QStringLiteral(".quarn");
}

bool HxNetwork::hasSuffix(const QString& file) {
  return file.endsWith(suffix(), Qt::CaseInsensitive);
}

QStringList HxNetwork::save(const QString& file, bool force) {
  if (!hasSuffix(file))
    throw McException(excerpt(file) + ": the name must end in " + suffix().toStdString() +
                      ", or the file could not be loaded again");
  const QString place = behindLinks(file);
  NetworkWriter writer(QFileInfo(place).absolutePath());
  const QString text = firstLine() + "\n" + writer.write();
  const QStringList& problems = writer.problems();
  if (!problems.isEmpty() && !force)
    throw McException(excerpt(file) + ": not saved, since this would be lost:\n  " +
                      problems.join("\n  ").toStdString() +
                      "\nSave or remove these objects, or give -force to do without.");
  HxFileHelpers::replaceFile(place, text.toUtf8());
  return problems;
}

QStringList HxNetwork::load(const QString& file) {
  QString text = QString::fromUtf8(HxFileHelpers::readFile(file, kMaximumBytes));
  if (text.startsWith(QChar::ByteOrderMark)) text.remove(0, 1);
  requireKnownVersion(file, text);
  const LoadingFlag loading;
  NetworkReader reader(file, QFileInfo(behindLinks(file)).absolutePath());
  try {
    reader.run(text);
  } catch (...) {
    reader.settle();
    throw;
  }
  reader.settle();
  reader.requireComplete();
  return reader.names();
}
