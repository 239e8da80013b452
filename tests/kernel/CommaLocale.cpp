#include "tests/kernel/CommaLocale.h"

#include <QProcess>
#include <QTemporaryDir>
#include <clocale>
#include <gtest/gtest.h>
#include <string>

namespace {

/// Made once per process.
const std::string& madeFolder() {
  static const QTemporaryDir folder(QString::fromStdString(::testing::TempDir()) + "/locale-XXXXXX");
  static const std::string path = [] {
    QProcess::execute("localedef", {"-i", "de_DE", "-f", "UTF-8", folder.filePath("de_DE.UTF-8")});
    return folder.path().toStdString();
  }();
  return path;
}

}  // namespace

const char* CommaLocale::folder() {
  return madeFolder().c_str();
}

CommaLocale::CommaLocale() {
  qputenv("LOCPATH", folder());
  EXPECT_TRUE(std::setlocale(LC_ALL, "de_DE.UTF-8")) << "needs localedef and the locale de_DE of the package locales";
  EXPECT_STREQ(",", std::localeconv()->decimal_point);
}

CommaLocale::~CommaLocale() {
  qunsetenv("LOCPATH");
  std::setlocale(LC_ALL, "C.UTF-8");
}
