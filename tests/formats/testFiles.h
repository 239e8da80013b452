#pragma once

#include <QDir>
#include <QFile>
#include <QString>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <string>
#include <zlib.h>

#include "quarn/base/McException.h"

/// A folder of a test's own below the temporary folder; it goes with the object.
class TestFolder {
public:
  TestFolder() : folder_(QString::fromStdString(::testing::TempDir() + "quarn-formats-XXXXXX")) {
    EXPECT_TRUE(folder_.isValid()) << folder_.errorString().toStdString();
  }

  QString path(const QString& name) const { return folder_.path() + QLatin1Char('/') + name; }

  /// Writes a file and returns its path.
  QString write(const QString& name, const std::string& bytes) const {
    QFile file(path(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(file.write(bytes.data(), static_cast<qint64>(bytes.size())), static_cast<qint64>(bytes.size()));
    return path(name);
  }

private:
  QTemporaryDir folder_;
};

/// The bytes as one gzip member.
inline std::string gzipped(const std::string& bytes) {
  z_stream stream{};
  EXPECT_EQ(deflateInit2(&stream, 6, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY), Z_OK);
  std::string result(deflateBound(&stream, bytes.size()) + 64, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
  stream.avail_in = static_cast<uInt>(bytes.size());
  stream.next_out = reinterpret_cast<Bytef*>(result.data());
  stream.avail_out = static_cast<uInt>(result.size());
  EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
  result.resize(stream.total_out);
  deflateEnd(&stream);
  return result;
}

/// A file of the package mricron-data. The package is needed by the tests: without it they fail.
inline QString atlasFile(const QString& name) {
  const QString file = QStringLiteral("/usr/share/mricron/templates/") + name;
  EXPECT_TRUE(QFile::exists(file)) << file.toStdString() << " is missing: install the package mricron-data";
  return file;
}

/// The text of the exception that `call` throws; fails the test when it throws none.
template <typename Call>
std::string refusal(Call&& call) {
  try {
    call();
  } catch (const McException& error) {
    return error.what();
  }
  ADD_FAILURE() << "nothing was refused";
  return {};
}
