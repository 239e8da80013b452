#pragma once

#include <QFile>
#include <QString>
#include <QTemporaryDir>
#include <gtest/gtest.h>

/// A folder below the test's place for temporary files; it goes with the test.
class TemporaryFolder {
public:
  TemporaryFolder() : folder_(QString::fromStdString(::testing::TempDir()) + QStringLiteral("/kernel-XXXXXX")) {
    EXPECT_TRUE(folder_.isValid());
  }

  QString path() const { return folder_.path(); }
  QString file(const QString& name) const { return folder_.filePath(name); }

  QString write(const QString& name, const QByteArray& content) const {
    QFile file(folder_.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(content.size(), file.write(content));
    return file.fileName();
  }

  QByteArray read(const QString& name) const {
    QFile file(folder_.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    return file.readAll();
  }

private:
  QTemporaryDir folder_;
};
