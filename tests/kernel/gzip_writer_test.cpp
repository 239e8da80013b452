#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <random>
#include <string>

#include "quarn/kernel/io/ByteStream.h"
#include "quarn/kernel/io/GzipWriter.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/byteCodec.h"

namespace {

std::string packed(const QString& file, const std::vector<std::string>& pieces) {
  using hxvoxora::FileSystem;
  const auto output = FileSystem::posix().createExclusively(file.toStdString(), FileSystem::Access::ownerOnly);
  quarn::GzipWriter writer(*output);
  for (const std::string& piece : pieces) writer.append(std::as_bytes(std::span(piece)));
  writer.finish();
  output->close();
  QFile content(file);
  EXPECT_TRUE(content.open(QIODevice::ReadOnly));
  return content.readAll().toStdString();
}

TEST(GzipWriter, MakesOneMemberOfAllPieces) {
  const QTemporaryDir folder;
  std::mt19937 random(7);
  for (const std::size_t size : {0U, 1U, 524287U, 524288U, 524289U, 2000000U}) {
    std::vector<std::string> pieces = {std::string(size, '\0'), "", std::string(size, 'a')};
    for (char& c : pieces[2]) c = static_cast<char>(random() % 4);
    const std::string whole = pieces[0] + pieces[2];
    const std::string bytes = packed(folder.filePath(QString::number(size)), pieces);
    std::string back(whole.size(), 'x');
    // Takes one member that fills the bytes, and nothing else.
    EXPECT_EQ(hxvoxora::unpackBytes(std::as_bytes(std::span(bytes)), std::as_writable_bytes(std::span(back))), "");
    EXPECT_TRUE(back == whole) << size;
    EXPECT_EQ(packed(folder.filePath(QString::number(size) + "again"), pieces), bytes);
  }
}

}  // namespace
