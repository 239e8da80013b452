#include <algorithm>
#include <atomic>

#include "MaskTest.h"
#include "hxroi/details/MaskVolumeReader.h"
#include "quarn/voxora/readers/SoVRLdmFileReader.h"
#include "quarn/voxora/tiles/Ref.h"
#include "tests/base/Concurrent.h"

using hxroi::details::MaskVolumeReader;
using hxvoxora::Ref;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

using Bytes = std::vector<std::uint8_t>;

class MaskReader : public MaskTest {
protected:
  /// As the toolkit makes it, from its name.
  static Ref<SoVolumeReader> makeReader() {
    return Ref<SoVolumeReader>(static_cast<SoVolumeReader*>(SoType::fromName("MaskVolumeReader").createInstance()));
  }

  static Ref<SoVolumeReader> readerOf(const Mask& mask) {
    auto reader = makeReader();
    dynamic_cast<MaskVolumeReader&>(*reader).setMask(&mask);
    return reader;
  }

  /// What the reader writes for a rectangle, and one byte behind it.
  static Bytes slice(SoVolumeReader& reader, const SbBox2i32& box, int z, std::size_t count) {
    Bytes bytes(count + 1, 77);
    reader.getSubSlice(box, z, bytes.data());
    EXPECT_EQ(bytes.back(), 77);
    bytes.pop_back();
    return bytes;
  }

  static Bytes expected(const Bits& bits, const McVec3i& n, const SbBox2i32& box, int z) {
    Bytes bytes;
    for (int y = box.getMin()[1]; y <= box.getMax()[1]; ++y) {
      for (int x = box.getMin()[0]; x <= box.getMax()[0]; ++x)
        bytes.push_back(bits[static_cast<std::size_t>((z * n.y + y) * n.x + x)]);
    }
    return bytes;
  }
};

struct DataChar {
  SbBox3f size{SbVec3f(1, 2, 3), SbVec3f(4, 5, 6)};
  SoDataSet::DataType type = SoDataSet::FLOAT;
  SbVec3i32 dimension{7, 8, 9};
  bool operator==(const DataChar&) const = default;
};

TEST_F(MaskReader, IsMadeByItsName) {
  const SoType type = SoType::fromName("MaskVolumeReader");
  ASSERT_TRUE(type.canCreateInstance());
  EXPECT_EQ(type, MaskVolumeReader::getClassTypeId());
  EXPECT_EQ(type.getParent(), SoVolumeReader::getClassTypeId());
  const auto reader = makeReader();
  EXPECT_NE(dynamic_cast<MaskVolumeReader*>(reader.get()), nullptr);
  EXPECT_EQ(reader->getTypeId(), type);
  EXPECT_FALSE(reader->getIsBuiltIn());
}

TEST_F(MaskReader, TellsNothingWithoutAMask) {
  const auto reader = makeReader();
  DataChar told;
  EXPECT_EQ(reader->getDataChar(told.size, told.type, told.dimension), 1);
  EXPECT_EQ(told, DataChar());
  Bytes bytes{77};
  EXPECT_THAT(refusal([&] { reader->getSubSlice(SbBox2i32(0, 0, 0, 0), 0, bytes.data()); }), HasSubstr("no mask"));
  EXPECT_EQ(bytes[0], 77);
}

TEST_F(MaskReader, TellsTheGridOfTheMask) {
  const auto mask = makeMask({13, 11, 7});
  const auto reader = readerOf(*mask);
  DataChar told;
  EXPECT_EQ(reader->getDataChar(told.size, told.type, told.dimension), 0);
  EXPECT_EQ(told.size, SbBox3f(SbVec3f(0, 0, 0), SbVec3f(1, 1, 1)));
  EXPECT_EQ(static_cast<int>(told.type), 0);
  EXPECT_EQ(told.dimension, SbVec3i32(13, 11, 7));
}

TEST_F(MaskReader, AnotherMaskIsAnnounced) {
  const auto a = makeMask({13, 11, 7}), b = makeMask({5, 4, 3});
  const auto reader = makeReader();
  int calls = 0;
  SbVec3i32 seen;
  reader->addListener([&] {
    ++calls;
    DataChar told;
    if (reader->getDataChar(told.size, told.type, told.dimension) == 0) seen = told.dimension;
  });
  auto& maskReader = dynamic_cast<MaskVolumeReader&>(*reader);
  maskReader.setMask(a);
  EXPECT_EQ(seen, SbVec3i32(13, 11, 7));
  maskReader.setMask(b);
  EXPECT_EQ(seen, SbVec3i32(5, 4, 3));
  maskReader.setMask(nullptr);
  EXPECT_EQ(calls, 3);
  DataChar told;
  EXPECT_EQ(reader->getDataChar(told.size, told.type, told.dimension), 1);
}

TEST_F(MaskReader, ServesEverySlice) {
  auto random = seededRandom();
  for (const McVec3i n : {McVec3i(13, 11, 7), McVec3i(1, 1, 1), McVec3i(8, 3, 2), McVec3i(70, 66, 3)}) {
    const auto mask = makeMask(n);
    const Bits bits = randomBits(n, random);
    setBits(*mask, bits);
    const auto reader = readerOf(*mask);
    const SbBox2i32 whole(0, 0, n.x - 1, n.y - 1);
    for (int z = 0; z < n.z; ++z)
      ASSERT_EQ(slice(*reader, whole, z, static_cast<std::size_t>(n.x * n.y)), expected(bits, n, whole, z)) << z;
  }
}

TEST_F(MaskReader, ServesAnyPart) {
  auto random = seededRandom();
  const McVec3i n(70, 66, 5);
  const auto mask = makeMask(n);
  const Bits bits = randomBits(n, random);
  setBits(*mask, bits);
  const auto reader = readerOf(*mask);
  const auto below = [&random](int end) { return std::uniform_int_distribution<int>(0, end - 1)(random); };
  for (int i = 0; i < 300; ++i) {
    const int x = below(n.x), y = below(n.y), z = below(n.z);
    const SbBox2i32 part(x, y, x + below(n.x - x), y + below(n.y - y));
    const auto wanted = expected(bits, n, part, z);
    ASSERT_EQ(slice(*reader, part, z, wanted.size()), wanted);
  }
}

TEST_F(MaskReader, BytesOfAFullMaskAreOne) {
  const auto mask = makeMask({40, 30, 2}, true);
  EXPECT_THAT(slice(*readerOf(*mask), SbBox2i32(0, 0, 39, 29), 1, 40 * 30), Each(1));
  const auto empty = makeMask({40, 30, 2}, false);
  EXPECT_THAT(slice(*readerOf(*empty), SbBox2i32(0, 0, 39, 29), 1, 40 * 30), Each(0));
}

TEST_F(MaskReader, InvertedAlongXIsOneByte) {
  const auto mask = makeMask({13, 11, 7}, McBox3i(5, 5, 4, 4, 2, 2));
  const auto reader = readerOf(*mask);
  EXPECT_THAT(slice(*reader, SbBox2i32(5, 4, 4, 9), 2, 1), ElementsAre(1));
  EXPECT_THAT(slice(*reader, SbBox2i32(5, 4, -100, 2), 2, 1), ElementsAre(1));
  EXPECT_THAT(slice(*reader, SbBox2i32(6, 4, 5, 4), 2, 1), ElementsAre(0));
}

TEST_F(MaskReader, InvertedAlongYOnlyIsNothing) {
  const auto mask = makeMask({13, 11, 7}, true);
  const auto reader = readerOf(*mask);
  EXPECT_TRUE(slice(*reader, SbBox2i32(2, 4, 5, 3), 2, 0).empty());
  EXPECT_TRUE(slice(*reader, SbBox2i32(2, 2147483647, 5, -2147483647), 2, 0).empty());
}

TEST_F(MaskReader, PartsOutsideAreRefused) {
  const auto mask = makeMask({13, 11, 7});
  const auto reader = readerOf(*mask);
  Bytes bytes(1000, 77);
  for (const SbBox2i32& box : {SbBox2i32(-1, 0, 0, 0), SbBox2i32(0, 0, 13, 0), SbBox2i32(0, 0, 0, 11),
                               SbBox2i32(13, 0, 12, 0), SbBox2i32(-2147483647, 0, 2147483647, 0)}) {
    EXPECT_THAT(refusal([&] { reader->getSubSlice(box, 0, bytes.data()); }), HasSubstr("mask mask: slice 0"));
  }
  for (const int z : {-1, 7})
    EXPECT_THAT(refusal([&] { reader->getSubSlice(SbBox2i32(0, 0, 0, 0), z, bytes.data()); }), HasSubstr("outside"));
  EXPECT_THAT(bytes, Each(77));
}

TEST_F(MaskReader, ServesABorrowedMask) {
  const auto mask = makeMask({13, 11, 7}, McBox3i(1, 3, 2, 2, 3, 3));
  const auto user = borrowed(*mask);
  EXPECT_THAT(slice(*readerOf(*user), SbBox2i32(0, 2, 4, 2), 3, 5), ElementsAre(0, 1, 1, 1, 0));
  EXPECT_FALSE(user->ownsTemporaryFiles());
}

TEST_F(MaskReader, SeesTheEditsOfTheMask) {
  const auto mask = makeMask({13, 11, 7});
  const auto reader = readerOf(*mask);
  EXPECT_THAT(slice(*reader, SbBox2i32(0, 0, 12, 0), 0, 13), Each(0));
  fill(*mask, McBox3i(0, 12, 0, 10, 0, 6));
  EXPECT_THAT(slice(*reader, SbBox2i32(0, 0, 12, 0), 0, 13), Each(1));
}

TEST_F(MaskReader, ThreadsReadTheirOwnSlices) {
  auto random = seededRandom();
  const McVec3i n(70, 66, 40);
  const auto mask = makeMask(n);
  const Bits bits = randomBits(n, random);
  setBits(*mask, bits);
  const auto reader = readerOf(*mask);
  const SbBox2i32 whole(0, 0, n.x - 1, n.y - 1);
  std::atomic<int> wrong{0};
  runTogether(4, [&](int thread) {
    for (int i = 0; i < n.z; ++i) {
      const int z = (i + thread * 7) % n.z;
      Bytes bytes(static_cast<std::size_t>(n.x * n.y));
      reader->getSubSlice(whole, z, bytes.data());
      if (bytes != expected(bits, n, whole, z)) ++wrong;
    }
  });
  EXPECT_EQ(wrong, 0);
}

/// Every edit fills a slice within one tile, so a reader of it sees either all of it or nothing.
TEST_F(MaskReader, ThreadsReadBesideAnEditor) {
  const McVec3i n(60, 50, 8);
  const auto mask = makeMask(n);
  const auto reader = readerOf(*mask);
  const SbBox2i32 whole(0, 0, n.x - 1, n.y - 1);
  std::atomic<int> torn{0};
  std::atomic<bool> edited{false};
  runTogether(4, [&](int thread) {
    if (thread == 0) {
      for (int i = 0; i < 200; ++i) fill(*mask, McBox3i(0, n.x - 1, 0, n.y - 1, i % n.z, i % n.z), i / n.z % 2 == 0);
      edited = true;
      return;
    }
    for (int z = 0; !edited; z = (z + 1) % n.z) {
      Bytes bytes(static_cast<std::size_t>(n.x * n.y), 77);
      reader->getSubSlice(whole, z, bytes.data());
      const auto ones = std::count(bytes.begin(), bytes.end(), 1), zeros = std::count(bytes.begin(), bytes.end(), 0);
      const auto all = static_cast<std::ptrdiff_t>(bytes.size());
      if (ones != all && zeros != all) ++torn;
    }
  });
  EXPECT_EQ(torn, 0);
}

TEST_F(MaskReader, ComesBackAfterItsClassWasTakenOut) {
  const auto before = makeReader();
  const SoType former = before->getTypeId();
  ASSERT_NE(before->getFieldData(), nullptr);
  MaskVolumeReader::exitClass();
  MaskVolumeReader::exitClass();
  EXPECT_TRUE(MaskVolumeReader::getClassTypeId().isBad());
  EXPECT_TRUE(SoType::fromName("MaskVolumeReader").isBad());
  EXPECT_TRUE(former.isBad());
  EXPECT_EQ(before->getFieldData(), nullptr);

  // The first reader brings the class back.
  const Ref<SoVolumeReader> again(static_cast<SoVolumeReader*>(MaskVolumeReader::createInstance(nullptr)));
  EXPECT_FALSE(MaskVolumeReader::getClassTypeId().isBad());
  EXPECT_NE(MaskVolumeReader::getClassTypeId(), former);
  EXPECT_NE(again->getFieldData(), nullptr);
  MaskVolumeReader::initClass();
  EXPECT_EQ(makeReader()->getTypeId(), again->getTypeId());
}

TEST_F(MaskReader, FieldDataIsSharedByAllReadersAndNotTheParents) {
  const auto a = makeReader(), b = makeReader();
  ASSERT_NE(a->getFieldData(), nullptr);
  EXPECT_EQ(a->getFieldData(), b->getFieldData());
  EXPECT_NE(a->getFieldData(), SoVolumeReader::getClassFieldData());
  EXPECT_EQ(a->getFieldData()->fieldNames(), SoVolumeReader::getClassFieldData()->fieldNames());
}

TEST_F(MaskReader, RegistersItsParentWhenNeeded) {
  // The toolkit's own readers come back with their first instances, under the new parent.
  MaskVolumeReader::exitClass();
  SoVRLdmFileReader::exitClass();
  SoLDMReader::exitClass();
  SoVolumeReader::exitClass();
  MaskVolumeReader::initClass();
  EXPECT_FALSE(SoVolumeReader::getClassTypeId().isBad());
  EXPECT_TRUE(MaskVolumeReader::getClassTypeId().isDerivedFrom(SoVolumeReader::getClassTypeId()));
}

TEST_F(MaskReader, ThreadsMakeReaders) {
  MaskVolumeReader::exitClass();
  std::atomic<int> good{0};
  runTogether(4, [&](int) {
    for (int i = 0; i < 200; ++i) {
      const Ref<SoVolumeReader> reader(static_cast<SoVolumeReader*>(MaskVolumeReader::createInstance(nullptr)));
      if (reader->getFieldData() && !reader->getTypeId().isBad()) ++good;
    }
  });
  EXPECT_EQ(good, 800);
}

}  // namespace
