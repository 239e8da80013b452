#include <atomic>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "quarn/base/McException.h"
#include "tests/voxora/RandomSource.h"
#include "tests/voxora/files/temporary_folder.h"
#include "tests/voxora/files/volume_files.h"

using hxvoxora::CompressedTile;
using hxvoxora::FileSystem;
using hxvoxora::MemoryFileSystem;
using hxvoxora::StoredTileKind;
using hxvoxora::TileCompression;
using hxvoxora::TiledFileReader;
using hxvoxora::TiledFileWriter;
using hxvoxora::VolumeHeader;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using volumefiles::Bytes;
using volumefiles::messageOf;
using volumefiles::sampleHeader;
using volumefiles::SampleSet;
using volumefiles::sampleTiles;
using volumefiles::Tile;
using volumefiles::Tiles;

namespace {

class OnDisk : public testing::Test {
protected:
  std::string path(const std::string& name) const { return folder_.path() + "/" + name; }
  std::vector<std::string> names() { return files_.list(folder_.path()); }
  std::string writeMessage(const std::string& name) {
    return messageOf([&] { volumefiles::write(files_, path(name), sampleHeader(), sampleTiles(2)); });
  }

  TemporaryFolder folder_;
  FileSystem& files_ = FileSystem::posix();
};

}  // namespace

TEST_F(OnDisk, SetComesBackAsItWasWritten) {
  for (const TileCompression compression : {TileCompression::gzip, TileCompression::none}) {
    VolumeHeader header = sampleHeader();
    header.compression = compression;
    volumefiles::write(files_, path("a.ldm"), header, sampleTiles(1));
    EXPECT_EQ(volumefiles::read(files_, path("a.ldm")), sampleTiles(1));
    EXPECT_THAT(names(), ElementsAre("a.dat", "a.fcp", "a.ldm"));
  }
}

TEST_F(OnDisk, BareNamesMeanTheWorkingFolder) {
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder_.path());
  volumefiles::write(files_, "a.ldm", sampleHeader(), sampleTiles(1));
  const Tiles tiles = volumefiles::read(files_, "a.ldm");
  std::filesystem::current_path(before);
  EXPECT_EQ(tiles, sampleTiles(1));
}

TEST(TiledFile, RandomSetsComeBackAsTheyWereWritten) {
  RandomSource random;
  const auto pick = [&](int low, int high) { return random.between(low, high); };
  for (int round = 0; round < 200; ++round) {
    MemoryFileSystem files;
    VolumeHeader header = volumefiles::makeHeader({pick(1, 200), pick(1, 80), pick(1, 40)},
                                                  {32 << pick(0, 2), 8 << pick(0, 2), 8 << pick(0, 1)},
                                                  pick(0, 1) ? TileCompression::gzip : TileCompression::none);
    header.levels = pick(1, VolumeHeader::maxLevels(header.dimensions, header.tileDimensions));
    Tiles tiles;
    for (std::uint64_t i = 0; i < header.tileCount(); ++i) {
      const auto kind = static_cast<StoredTileKind>(pick(0, 3));
      if (kind == StoredTileKind::unwritten) continue;
      tiles[i] = {kind, {}};
      if (kind == StoredTileKind::stored)
        tiles[i].bits = volumefiles::maskBits(header, i, static_cast<unsigned>(round));
    }
    volumefiles::write(files, "a.ldm", header, tiles);
    ASSERT_EQ(volumefiles::read(files, "a.ldm"), tiles) << "round " << round;
  }
}

TEST(TiledFile, LevelsMustFitTheIndex) {
  VolumeHeader header = sampleHeader();
  header.levels = 2;
  Tiles tiles = sampleTiles(1);
  tiles[8] = {StoredTileKind::stored, volumefiles::maskBits(header, 8, 1)};
  MemoryFileSystem files;
  volumefiles::write(files, "a.ldm", header, tiles);
  EXPECT_EQ(volumefiles::read(files, "a.ldm"), tiles);

  std::string text = volumefiles::toText(files.content("a.ldm"));
  files.setContent("a.ldm", volumefiles::toBytes(text.replace(text.find("<Levels>2"), 9, "<Levels>1")));
  EXPECT_THAT(messageOf([&] { TiledFileReader::open(files, "a.ldm"); }), HasSubstr("a.fcp: tile count 9: must be 8"));
}

TEST(TiledFile, IncompressibleTilesAreStoredAsTheyAre) {
  std::mt19937 random(1);
  Bytes bits(32 * 8 * 8 / 8);
  for (std::byte& b : bits) b = std::byte(random() & 0xFF);
  MemoryFileSystem files;
  const Tiles tiles{{0, {StoredTileKind::stored, bits}}};
  volumefiles::write(files, "a.ldm", volumefiles::makeHeader({32, 8, 8}, {32, 8, 8}), tiles);
  EXPECT_EQ(files.content("a.dat").size(), 16 + bits.size());
  EXPECT_EQ(volumefiles::read(files, "a.ldm"), tiles);
}

TEST(TiledFile, TilesMayComeInAnyOrderFromManyThreads) {
  const VolumeHeader header = volumefiles::makeHeader({1000, 100, 100}, {32, 8, 8});
  MemoryFileSystem files;
  TiledFileWriter writer(files, "a.ldm", header);
  std::vector<std::thread> threads;
  for (std::uint64_t first = 0; first < 4; ++first) {
    threads.emplace_back([&, first] {
      for (std::uint64_t i = header.tileCount(); i-- > 0;) {
        if (i % 4 != first) continue;
        if (i % 3 == 0) writer.setKind(i, StoredTileKind::one);
        if (i % 3 == 1) writer.put(i, volumefiles::maskBits(header, i, 3));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  writer.commit();

  const auto reader = TiledFileReader::open(files, "a.ldm");
  Bytes bits(header.tileBytes());
  for (std::uint64_t i = 0; i < header.tileCount(); ++i) {
    const StoredTileKind expected[] = {StoredTileKind::one, StoredTileKind::stored, StoredTileKind::unwritten};
    ASSERT_EQ(reader->kind(i), expected[i % 3]);
    if (i % 3 != 1) continue;
    reader->read(i, bits);
    ASSERT_EQ(bits, volumefiles::maskBits(header, i, 3));
  }
}

TEST(TiledFile, ManyThreadsReadOneSet) {
  const VolumeHeader header = volumefiles::makeHeader({200, 60, 60}, {32, 8, 8});
  MemoryFileSystem files;
  Tiles tiles;
  for (std::uint64_t i = 0; i < header.tileCount(); ++i) {
    tiles[i] = {StoredTileKind::stored, volumefiles::maskBits(header, i, 5)};
  }
  volumefiles::write(files, "a.ldm", header, tiles);
  const auto reader = TiledFileReader::open(files, "a.ldm");
  std::vector<std::thread> threads;
  std::atomic<int> wrong = 0;
  for (unsigned t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      Bytes bits(header.tileBytes());
      for (std::uint64_t i = 0; i < header.tileCount(); ++i) {
        const std::uint64_t tile = (i * 7 + t * 13) % header.tileCount();
        reader->read(tile, bits);
        if (bits != tiles.at(tile).bits) ++wrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

TEST(TiledFile, PackedTilesAreHandedOnUnchanged) {
  SampleSet set;
  const auto reader = TiledFileReader::open(set.files, set.path);
  TiledFileWriter writer(set.files, "/v/b.ldm", reader->header());
  for (const auto& run : reader->runs()) {
    for (std::uint64_t i = run.firstTile; i < run.firstTile + run.tileCount; ++i) {
      if (run.kind == StoredTileKind::stored) {
        const CompressedTile packed = reader->readCompressed(i);
        EXPECT_EQ(packed.checksum, reader->checksum(i));
        writer.putCompressed(i, packed);
      } else {
        writer.setKind(i, run.kind);
      }
    }
  }
  writer.commit();
  EXPECT_EQ(volumefiles::read(set.files, "/v/b.ldm"), sampleTiles(1));
  EXPECT_NE(writer.header().generation, reader->header().generation);
}

TEST(TiledFile, SparseIndexOfALargeVolumeIsSmallAndQuick) {
  MemoryFileSystem files;
  const VolumeHeader header = volumefiles::makeHeader({4096, 4096, 4096}, {32, 32, 32});
  const CompressedTile packed = TiledFileWriter::compress(volumefiles::maskBits(header, 0, 1), header);
  const auto start = std::chrono::steady_clock::now();
  {
    TiledFileWriter writer(files, "a.ldm", header);
    writer.setKind(1000, StoredTileKind::zero, 500'000);
    for (std::uint64_t i = 600'000; i < 700'000; i += 10) writer.putCompressed(i, packed);
    writer.commit();
  }
  EXPECT_LT(files.content("a.fcp").size(), std::size_t{1} << 20);
  const auto reader = TiledFileReader::open(files, "a.ldm");
  EXPECT_EQ(reader->storedCount(), 10'000u);
  EXPECT_EQ(reader->kind(999), StoredTileKind::unwritten);
  EXPECT_EQ(reader->kind(1000), StoredTileKind::zero);
  EXPECT_EQ(reader->kind(500'999), StoredTileKind::zero);
  EXPECT_EQ(reader->kind(600'010), StoredTileKind::stored);
  EXPECT_EQ(reader->kind(header.tileCount() - 1), StoredTileKind::unwritten);
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  EXPECT_LT(seconds.count(), 5.0);
}

TEST(TiledFile, VolumeThatWasNeverWrittenTakesOneRun) {
  MemoryFileSystem files;
  TiledFileWriter(files, "a.ldm", volumefiles::makeHeader({4096, 4096, 4096}, {64, 64, 64})).commit();
  EXPECT_EQ(files.content("a.fcp").size(), 80u + 3 + 8);
  EXPECT_EQ(files.content("a.dat").size(), 16u);
  EXPECT_EQ(TiledFileReader::open(files, "a.ldm")->runs().size(), 1u);
}

TEST(TiledFile, WrongUseIsRefused) {
  SampleSet set;
  const auto reader = TiledFileReader::open(set.files, set.path);
  Bytes bits(reader->header().tileBytes());
  Bytes small(bits.size() - 1);
  EXPECT_THAT(messageOf([&] { reader->read(8, bits); }), HasSubstr("/v/a.ldm: tile 8: there are only 8 tiles"));
  EXPECT_THAT(messageOf([&] { reader->kind(8); }), HasSubstr("tile 8"));
  EXPECT_THAT(messageOf([&] { reader->read(1, bits); }), HasSubstr("/v/a.dat: tile 1: is not stored"));
  EXPECT_THAT(messageOf([&] { reader->read(0, small); }), HasSubstr("/v/a.dat: tile 0: "));

  TiledFileWriter writer(set.files, "/v/b.ldm", sampleHeader());
  EXPECT_THAT(messageOf([&] { writer.setKind(7, StoredTileKind::one, 2); }), HasSubstr("tile 7 (2 tiles)"));
  EXPECT_THAT(messageOf([&] { writer.setKind(0, StoredTileKind::one, ~0ull); }), HasSubstr("tile 0"));
  EXPECT_THAT(messageOf([&] { writer.setKind(7, StoredTileKind::stored); }), HasSubstr("tile 7"));
  EXPECT_THAT(messageOf([&] { writer.put(8, bits); }), HasSubstr("/v/b.ldm: tile 8"));
  EXPECT_THAT(messageOf([&] { writer.put(0, small); }), HasSubstr("tile 0"));
  EXPECT_THAT(messageOf([&] { writer.putCompressed(0, {}); }), HasSubstr("tile 0"));
  writer.put(0, bits);
  writer.setKind(0, StoredTileKind::one);
  EXPECT_THAT(messageOf([&] { writer.commit(); }), HasSubstr("/v/b.ldm: tile 0: written twice"));
}

TEST(TiledFile, BorderedVolumesAreRefused) {
  SampleSet set;
  set.replaceInHeader("</Volume", "<TileBorder>1</TileBorder></Volume");
  EXPECT_THAT(set.openMessage(), AllOf(HasSubstr("/v/a.ldm"), HasSubstr("element TileBorder \"1\"")));
}

TEST_F(OnDisk, NamesThatAreNotAVolumeAreRefused) {
  for (const std::string name : {"", ".ldm", "a", "a.LDM", "a.ldm.dat", "sub\\a.ldm", "a\n.ldm", "\xFF.ldm"}) {
    EXPECT_THAT(writeMessage(name), HasSubstr(folder_.path())) << name;
  }
  EXPECT_THAT(writeMessage(std::string(235, 'n') + ".ldm"), HasSubstr("too long"));
  EXPECT_THAT(writeMessage(std::string(252, 'n') + ".ldm"), HasSubstr("longer than 255 bytes"));
  EXPECT_THAT(names(), ElementsAre());
  volumefiles::write(files_, path(std::string(234, 'n') + ".ldm"), sampleHeader(), sampleTiles(1));
  EXPECT_EQ(volumefiles::read(files_, path(std::string(234, 'n') + ".ldm")), sampleTiles(1));
}

TEST_F(OnDisk, WithoutCommitNothingStays) {
  volumefiles::write(files_, path("a.ldm"), sampleHeader(), sampleTiles(1));
  {
    TiledFileWriter writer(files_, path("a.ldm"), sampleHeader());
    writer.setKind(0, StoredTileKind::one);
    EXPECT_EQ(names().size(), 4u);
  }
  EXPECT_THAT(names(), ElementsAre("a.dat", "a.fcp", "a.ldm"));
  EXPECT_EQ(volumefiles::read(files_, path("a.ldm")), sampleTiles(1));
}

TEST_F(OnDisk, OpenSetsOutliveReplacementAndRemoval) {
  volumefiles::write(files_, path("a.ldm"), sampleHeader(), sampleTiles(1));
  const auto first = TiledFileReader::open(files_, path("a.ldm"));
  volumefiles::write(files_, path("a.ldm"), sampleHeader(), sampleTiles(2));
  const auto second = TiledFileReader::open(files_, path("a.ldm"));
  for (const std::string& name : names()) files_.remove(path(name));
  Bytes bits(first->header().tileBytes());
  first->read(3, bits);
  EXPECT_EQ(bits, sampleTiles(1)[3].bits);
  second->read(3, bits);
  EXPECT_EQ(bits, sampleTiles(2)[3].bits);
}

TEST_F(OnDisk, DataChangedInPlaceIsNoticed) {
  volumefiles::write(files_, path("a.ldm"), sampleHeader(), sampleTiles(1));
  const auto reader = TiledFileReader::open(files_, path("a.ldm"));
  Bytes bits(reader->header().tileBytes());
  // The size stays, as does everything in the tile that is read.
  std::fstream(path("a.dat"), std::ios::in | std::ios::out) << "V";
  const timespec times[2] = {{1'000'000, 0}, {1'000'000, 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, path("a.dat").c_str(), times, 0), 0);
  EXPECT_THAT(messageOf([&] { reader->read(0, bits); }),
              AllOf(HasSubstr(path("a.dat") + ": tile 0"), HasSubstr("changed by somebody else")));
  ASSERT_EQ(::truncate(path("a.dat").c_str(), 20), 0);
  EXPECT_THAT(messageOf([&] { reader->read(7, bits); }), HasSubstr(path("a.dat") + ": tile 7"));
}

TEST_F(OnDisk, SparseTailIsRefusedAtOnce) {
  volumefiles::write(files_, path("a.ldm"), sampleHeader(), sampleTiles(1));
  for (const std::string name : {"a.dat", "a.fcp", "a.ldm"}) {
    const auto size = static_cast<off_t>(std::filesystem::file_size(path(name)));
    ASSERT_EQ(::truncate(path(name).c_str(), off_t{1} << 30), 0);
    EXPECT_THAT(messageOf([&] { TiledFileReader::open(files_, path("a.ldm")); }), HasSubstr(name)) << name;
    ASSERT_EQ(::truncate(path(name).c_str(), size), 0);
  }
  EXPECT_EQ(volumefiles::read(files_, path("a.ldm")), sampleTiles(1));
}

TEST_F(OnDisk, HeaderPathMustBeARegularFile) {
  std::filesystem::create_directory(path("folder.ldm"));
  ASSERT_EQ(::mkfifo(path("pipe.ldm").c_str(), 0600), 0);
  std::filesystem::create_symlink("loop.ldm", path("loop.ldm"));
  for (const std::string name : {"folder.ldm", "pipe.ldm", "loop.ldm", "none.ldm"}) {
    EXPECT_THAT(messageOf([&] { TiledFileReader::open(files_, path(name)); }), HasSubstr(path(name)));
  }
}

TEST_F(OnDisk, LinkedHeaderIsReadBesideItsLink) {
  volumefiles::write(files_, path("a.ldm"), sampleHeader(), sampleTiles(1));
  std::filesystem::create_symlink("a.ldm", path("b.ldm"));
  EXPECT_EQ(volumefiles::read(files_, path("b.ldm")), sampleTiles(1));
}

TEST_F(OnDisk, DataAndIndexAreNeverLinksPipesOrFolders) {
  for (const std::string name : {"a.dat", "a.fcp"}) {
    volumefiles::write(files_, path("a.ldm"), sampleHeader(), sampleTiles(1));
    std::filesystem::rename(path(name), path("canary"));
    const auto message = [&] { return messageOf([&] { TiledFileReader::open(files_, path("a.ldm")); }); };
    std::filesystem::create_symlink("canary", path(name));
    EXPECT_THAT(message(), HasSubstr(path(name)));
    std::filesystem::remove(path(name));
    ASSERT_EQ(::mkfifo(path(name).c_str(), 0600), 0);
    EXPECT_THAT(message(), HasSubstr(path(name) + ": not a regular file"));
    std::filesystem::remove(path(name));
    std::filesystem::create_directory(path(name));
    EXPECT_THAT(message(), HasSubstr(path(name) + ": not a regular file"));
    std::filesystem::remove(path(name));
  }
}

TEST_F(OnDisk, OnlyRegularFilesAreReplaced) {
  for (const std::string name : {"a.ldm", "a.dat", "a.fcp"}) {
    std::filesystem::create_symlink("canary", path(name));
    EXPECT_THAT(writeMessage("a.ldm"), HasSubstr(path(name) + ": is a link"));
    std::filesystem::remove(path(name));
    ASSERT_EQ(::mkfifo(path(name).c_str(), 0600), 0);
    EXPECT_THAT(writeMessage("a.ldm"), HasSubstr(path(name) + ": is a device or pipe"));
    std::filesystem::remove(path(name));
    std::filesystem::create_directory(path(name));
    EXPECT_THAT(writeMessage("a.ldm"), HasSubstr(path(name) + ": is a folder"));
    EXPECT_EQ(names().size(), 1u);
    std::filesystem::remove(path(name));
  }
}

TEST_F(OnDisk, FoldersThatCannotBeWrittenAreRefused) {
  EXPECT_THAT(writeMessage("none/a.ldm"), AllOf(HasSubstr(path("none/a.dat")), HasSubstr("No such file")));
  if (::geteuid() == 0) {
    EXPECT_THAT(messageOf([&] { volumefiles::write(files_, "/proc/a.ldm", sampleHeader(), sampleTiles(1)); }),
                HasSubstr("/proc/a.dat"));
    return;
  }
  ASSERT_EQ(::chmod(folder_.path().c_str(), 0500), 0);
  EXPECT_THAT(writeMessage("a.ldm"), AllOf(HasSubstr(path("a.dat")), HasSubstr("Permission denied")));
  ASSERT_EQ(::chmod(folder_.path().c_str(), 0700), 0);
  EXPECT_THAT(names(), ElementsAre());
}

TEST_F(OnDisk, ReadersBesideAWriterSeeOneSaveWhole) {
  volumefiles::write(files_, path("a.ldm"), sampleHeader(), sampleTiles(0));
  std::atomic<bool> done = false;
  std::atomic<int> wrong = 0, reads = 0;
  std::vector<std::thread> readers;
  for (int i = 0; i < 2; ++i) {
    readers.emplace_back([&] {
      while (!done) {
        try {
          const Tiles tiles = volumefiles::read(files_, path("a.ldm"));
          if (tiles != sampleTiles(0) && tiles != sampleTiles(1)) ++wrong;
        } catch (const McException& failure) {
          ADD_FAILURE() << failure.what();
        }
        ++reads;
      }
    });
  }
  for (unsigned save = 1; save <= 100; ++save) {
    volumefiles::write(files_, path("a.ldm"), sampleHeader(), sampleTiles(save % 2));
  }
  while (reads < 10) std::this_thread::yield();
  done = true;
  for (std::thread& reader : readers) reader.join();
  EXPECT_EQ(wrong, 0);
}
