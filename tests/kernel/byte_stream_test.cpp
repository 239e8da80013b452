#include <gtest/gtest.h>
#include <vector>

#include "quarn/kernel/io/ByteStream.h"
#include "quarn/voxora/files/byteCodec.h"
#include "tests/kernel/TemporaryFolder.h"
#include "tests/kernel/expectMcException.h"

using quarn::ByteStream;
using ::testing::HasSubstr;

namespace {

QByteArray someBytes(qsizetype count) {
  QByteArray bytes(count, '\0');
  unsigned state = 1;
  for (char& c : bytes) {
    state = state * 1664525 + 1013904223;
    c = static_cast<char>(state >> 28);
  }
  return bytes;
}

QByteArray gzipped(const QByteArray& raw) {
  std::vector<std::byte> room(static_cast<std::size_t>(raw.size()) + 1000);
  const std::size_t size =
      hxvoxora::packBytes(std::as_bytes(std::span(raw.constData(), std::size_t(raw.size()))), room);
  return {reinterpret_cast<const char*>(room.data()), static_cast<qsizetype>(size)};
}

/// All that is left, taken in steps.
QByteArray rest(ByteStream& stream, std::size_t step) {
  QByteArray all;
  std::vector<std::byte> buffer(step);
  for (std::size_t got = step; got == step;) {
    got = stream.read(buffer);
    all.append(reinterpret_cast<const char*>(buffer.data()), static_cast<qsizetype>(got));
  }
  return all;
}

class ByteStreamTest : public ::testing::Test {
protected:
  QString write(const QByteArray& content) { return folder.write(QStringLiteral("bytes"), content); }

  TemporaryFolder folder;
  const QByteArray bytes = someBytes(700001);
};

}  // namespace

TEST_F(ByteStreamTest, GivesPlainBytesFromAnyPlace) {
  ByteStream whole(write(bytes));
  EXPECT_FALSE(whole.isCompressed());
  EXPECT_EQ(rest(whole, 1000), bytes);
  ByteStream part(folder.file(QStringLiteral("bytes")), 123);
  part.skip(1000);
  EXPECT_EQ(rest(part, 4096), bytes.mid(1123));
  part.skip(5);
  EXPECT_EQ(rest(part, 1), QByteArray());
}

TEST_F(ByteStreamTest, UnpacksGzipBytesFromAnyPlace) {
  ByteStream stream(write("header\n" + gzipped(bytes)), 7);
  EXPECT_TRUE(stream.isCompressed());
  stream.skip(12345);
  EXPECT_EQ(rest(stream, 1000), bytes.mid(12345));
  stream.skip(5);
  EXPECT_EQ(rest(stream, 10), QByteArray());
}

TEST_F(ByteStreamTest, JoinsMembersAndPassesOverWhatFollows) {
  ByteStream stream(write(gzipped(bytes) + gzipped("") + gzipped("end") + "junk"));
  EXPECT_EQ(rest(stream, 65536), bytes + "end");
}

TEST_F(ByteStreamTest, TakesBytesForWhatTheCallerSays) {
  const QByteArray packed = gzipped(bytes);
  ByteStream plain(write(packed), 0, ByteStream::Form::plain);
  EXPECT_EQ(rest(plain, 1000), packed);
  const QString file = write(bytes);
  ByteStream gzip(file, 0, ByteStream::Form::gzip);
  EXPECT_THAT(textOfException([&] { rest(gzip, 1000); }), HasSubstr(file.toStdString() + ": is damaged: "));
}

TEST_F(ByteStreamTest, UnpacksZlibBytesWhenAsked) {
  // What python3's zlib.compress makes of b"zlib".
  const QByteArray whole = QByteArray::fromHex("789cabcac94c0200046401b2");
  ByteStream zlib(write(whole), 0, ByteStream::Form::zlib);
  EXPECT_EQ(rest(zlib, 3), "zlib");
  ByteStream gzip(write(gzipped(bytes)), 0, ByteStream::Form::zlib);
  EXPECT_EQ(rest(gzip, 1000), bytes);
  ByteStream cut(write(whole.chopped(1)), 0, ByteStream::Form::zlib);
  EXPECT_THAT(textOfException([&] { rest(cut, 7); }), HasSubstr(": is cut"));
}

TEST_F(ByteStreamTest, FindsGzipBytesThatAreCutAnywhere) {
  const QByteArray packed = gzipped("some bytes that are short");
  for (qsizetype length = 0; length < packed.size(); ++length) {
    ByteStream stream(write(packed.left(length)), 0, ByteStream::Form::gzip);
    EXPECT_THAT(textOfException([&] { rest(stream, 7); }), HasSubstr(": is cut")) << length;
  }
}

TEST_F(ByteStreamTest, FindsGzipBytesThatAreDamaged) {
  QByteArray packed = gzipped(bytes);
  packed[packed.size() - 6] = static_cast<char>(packed[packed.size() - 6] ^ 1);
  ByteStream stream(write(packed));
  EXPECT_THAT(textOfException([&] { rest(stream, 4096); }), HasSubstr(": is damaged: incorrect data check"));
}

TEST_F(ByteStreamTest, RefusesWhatIsNoFile) {
  EXPECT_THAT(textOfException([&] { ByteStream stream(folder.path()); }), HasSubstr(": is a folder"));
  EXPECT_THAT(textOfException([&] { ByteStream stream(folder.file(QStringLiteral("none"))); }),
              HasSubstr(": does not exist"));
  EXPECT_THAT(textOfException([&] { ByteStream stream(QStringLiteral("/dev/null")); }),
              HasSubstr(": is not a regular file"));
}
