#include "quarn/formats/detail/folderFiles.h"

#include <QFile>
#include <QFileInfo>
#include <string>

#include "quarn/voxora/files/FileSystem.h"

namespace quarn::formats::detail {

namespace {

bool isDigit(QChar sign) {
  return sign >= QLatin1Char('0') && sign <= QLatin1Char('9');
}

/// The digits from `at` on without leading zeros; `at` goes behind them.
QStringView takeNumber(const QString& text, qsizetype& at) {
  while (at < text.size() && text[at] == QLatin1Char('0')) ++at;
  const qsizetype start = at;
  while (at < text.size() && isDigit(text[at])) ++at;
  return QStringView(text).sliced(start, at - start);
}

}  // namespace

std::vector<QString> filesOf(const QString& folder) {
  hxvoxora::FileSystem& files = hxvoxora::FileSystem::current();
  std::vector<QString> result;
  for (const std::string& name : files.list(QFile::encodeName(folder).toStdString())) {
    const QString path = folder + QLatin1Char('/') + QFile::decodeName(name.c_str());
    if (name.front() != '.' && QFileInfo(path).isFile()) result.push_back(path);
  }
  return result;
}

bool naturallyBefore(const QString& a, const QString& b) {
  qsizetype i = 0, j = 0;
  while (i < a.size() && j < b.size()) {
    if (isDigit(a[i]) && isDigit(b[j])) {
      const QStringView first = takeNumber(a, i), second = takeNumber(b, j);
      if (first.size() != second.size()) return first.size() < second.size();
      if (const int order = first.compare(second); order != 0) return order < 0;
    } else {
      if (a[i] != b[j]) return a[i] < b[j];
      ++i, ++j;
    }
  }
  const qsizetype restOfA = a.size() - i, restOfB = b.size() - j;
  return restOfA != restOfB ? restOfA < restOfB : a < b;
}

}  // namespace quarn::formats::detail
