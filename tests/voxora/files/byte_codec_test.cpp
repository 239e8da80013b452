#include <gmock/gmock.h>
#include <vector>

#include "quarn/voxora/files/byteCodec.h"
#include "tests/voxora/RandomSource.h"

namespace {

using Bytes = std::vector<std::byte>;

Bytes pack(const Bytes& raw) {
  Bytes packed(raw.size() + 100);
  packed.resize(hxvoxora::packBytes(raw, packed));
  return packed;
}

}  // namespace

TEST(ByteCodec, UnpacksWhatItPacked) {
  RandomSource random;
  for (const std::size_t size : {1u, 2u, 1000u, 100000u, 1u << 20}) {
    Bytes raw(size);
    for (std::byte& byte : raw) byte = static_cast<std::byte>(random.between(0, 3));
    Bytes unpacked(size);
    EXPECT_EQ(hxvoxora::unpackBytes(pack(raw), unpacked), "");
    EXPECT_EQ(unpacked, raw);
  }
}

TEST(ByteCodec, SaysWhenThereIsNoRoom) {
  RandomSource random;
  Bytes noise(1000);
  for (std::byte& byte : noise) byte = static_cast<std::byte>(random.word());
  Bytes out(999);
  EXPECT_EQ(hxvoxora::packBytes(noise, out), 0u);
  EXPECT_EQ(hxvoxora::packBytes(Bytes(1), {}), 0u);
}

TEST(ByteCodec, NeverTakesOtherSizes) {
  const Bytes packed = pack(Bytes(500, std::byte{1}));
  Bytes shorter(499), longer(501);
  EXPECT_EQ(hxvoxora::unpackBytes(packed, shorter), "holds more than 499 bytes");
  EXPECT_EQ(hxvoxora::unpackBytes(packed, longer), "holds 500 bytes instead of 501");
  EXPECT_EQ(hxvoxora::unpackBytes({}, longer), "not a valid gzip member");
}

TEST(ByteCodec, PacksNoMoreThanItSays) {
  const std::size_t size = std::size_t{1} << 20;
  EXPECT_LE(size, pack(Bytes(size)).size() * hxvoxora::mostBytesPerPackedByte);
}

TEST(ByteCodec, KnowsTheChecksumOfNothing) {
  // The value that the algorithm is published with.
  EXPECT_EQ(hxvoxora::checksumOf({}), 0x2D06800538D394C2u);
  EXPECT_NE(hxvoxora::checksumOf(Bytes(1)), hxvoxora::checksumOf(Bytes(2)));
}
