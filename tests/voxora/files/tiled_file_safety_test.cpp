#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "quarn/base/McException.h"
#include "tests/voxora/RandomSource.h"
#include "tests/voxora/files/temporary_folder.h"
#include "tests/voxora/files/volume_files.h"

using hxvoxora::FileSystem;
using hxvoxora::MemoryFileSystem;
using testing::ElementsAre;
using testing::HasSubstr;
using volumefiles::Bytes;
using volumefiles::messageOf;
using volumefiles::sampleHeader;
using volumefiles::SampleSet;
using volumefiles::sampleTiles;
using volumefiles::Tiles;

namespace {

/// Overwrites, removes, repeats or inserts a few bytes somewhere.
void damage(Bytes& bytes, RandomSource& random) {
  if (bytes.empty()) return;
  const auto at = bytes.begin() + random.between<std::ptrdiff_t>(0, std::ssize(bytes) - 1);
  const auto end = at + random.between<std::ptrdiff_t>(0, std::min<std::ptrdiff_t>(8, bytes.end() - at));
  const Bytes piece(at, end);
  switch (random.between(0, 3)) {
    case 0:
      *at = std::byte(random.word() & 0xFF);
      break;
    case 1:
      bytes.erase(at, end);
      break;
    case 2:
      bytes.insert(end, piece.begin(), piece.end());
      break;
    default:
      bytes.insert(at, std::byte(random.word() & 0xFF));
  }
}

}  // namespace

TEST(TiledFileSafety, KilledSavesLeaveAWholeSet) {
  const TemporaryFolder folder;
  FileSystem& files = FileSystem::posix();
  const std::string path = folder.path() + "/a.ldm";
  volumefiles::write(files, path, sampleHeader(), sampleTiles(0));
  RandomSource random;
  for (int round = 0; round < 60; ++round) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      for (unsigned save = 0;; ++save) volumefiles::write(files, path, sampleHeader(), sampleTiles(save % 2));
    }
    ::usleep(random.between(0u, 8000u));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    const Tiles found = volumefiles::read(files, path);
    ASSERT_TRUE(found == sampleTiles(0) || found == sampleTiles(1)) << round;
  }
  // What the killed ones left behind is gone after the next save.
  volumefiles::write(files, path, sampleHeader(), sampleTiles(2));
  EXPECT_THAT(files.list(folder.path()), ElementsAre("a.dat", "a.fcp", "a.ldm"));
}

TEST(TiledFileSafety, RenameThatFailsKeepsTheOldSet) {
  class NoHeaderRename : public MemoryFileSystem {
  public:
    void rename(const std::string& from, const std::string& to) override {
      if (armed && to == "a.ldm") throw McException("rename " + from + ": Input/output error");
      MemoryFileSystem::rename(from, to);
    }
    bool armed = false;
  };
  NoHeaderRename files;
  volumefiles::write(files, "a.ldm", sampleHeader(), sampleTiles(1));
  const Bytes data = files.content("a.dat"), index = files.content("a.fcp"), header = files.content("a.ldm");
  files.armed = true;
  EXPECT_THAT(messageOf([&] { volumefiles::write(files, "a.ldm", sampleHeader(), sampleTiles(2)); }),
              HasSubstr("rename a.ldm~"));
  EXPECT_THAT(files.list(""), ElementsAre("a.dat", "a.fcp", "a.ldm"));
  EXPECT_EQ(files.content("a.dat"), data);
  EXPECT_EQ(files.content("a.fcp"), index);
  EXPECT_EQ(files.content("a.ldm"), header);
}

TEST(TiledFileSafety, DamagedOldSetIsReplacedToo) {
  for (const std::string name : {"/v/a.ldm", "/v/a.dat", "/v/a.fcp"}) {
    SampleSet set;
    set.files.setContent(name, volumefiles::toBytes("not what it was"));
    volumefiles::write(set.files, set.path, sampleHeader(), sampleTiles(2));
    EXPECT_EQ(set.read(), sampleTiles(2));
    EXPECT_THAT(set.files.list("/v"), ElementsAre("a.dat", "a.fcp", "a.ldm"));
  }
}

TEST(TiledFileSafety, EveryFlippedBitOfHeaderAndIndexIsReported) {
  for (const std::string name : {"/v/a.ldm", "/v/a.fcp"}) {
    SampleSet set;
    const Bytes whole = set.files.content(name);
    const std::size_t encoding = volumefiles::toText(whole).find("UTF");
    for (std::size_t bit = 0; bit < 8 * whole.size(); ++bit) {
      // The name of the encoding may be written in any case.
      if (bit % 8 == 5 && bit / 8 >= encoding && bit / 8 < encoding + 3) continue;
      Bytes damaged = whole;
      damaged[bit / 8] ^= std::byte(1 << bit % 8);
      set.files.setContent(name, damaged);
      EXPECT_THAT(messageOf([&] { set.read(); }), HasSubstr("/v/")) << name << " bit " << bit;
    }
  }
}

TEST(TiledFileSafety, RandomDamageIsReportedOrHarmless) {
  RandomSource random;
  SampleSet set;
  const std::vector<std::string> names{set.path, set.indexPath, set.dataPath};
  std::vector<Bytes> whole;
  for (const std::string& name : names) whole.push_back(set.files.content(name));
  for (int round = 0; round < 20'000; ++round) {
    const std::size_t which = random.between<std::size_t>(0, names.size() - 1);
    Bytes damaged = whole[which];
    for (int count = random.between(1, 4); count > 0; --count) damage(damaged, random);
    const bool sign = which == 1 && damaged.size() > 8 && random.chance(0.5);
    if (sign) volumefiles::sign(damaged);
    set.files.setContent(names[which], damaged);
    try {
      const Tiles found = set.read();
      // A forged index may say anything that fits together.
      ASSERT_TRUE(sign || found == sampleTiles(1)) << "round " << round;
    } catch (const McException& failure) {
      ASSERT_THAT(failure.what(), HasSubstr("/v/")) << "round " << round;
    }
    set.files.setContent(names[which], whole[which]);
  }
}

TEST(TiledFileSafety, HeaderCutAtAnyByteIsRefused) {
  SampleSet set;
  const Bytes whole = set.files.content(set.path);
  for (std::size_t size = 0; size < whole.size() - 1; ++size) {
    set.files.setContent(set.path, Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
    EXPECT_THAT(set.openMessage(), HasSubstr("/v/a.ldm")) << size;
  }
}

TEST(TiledFileSafety, NamesInTheHeaderNeverLeaveTheFolder) {
  SampleSet set;
  set.files.makeDirectory("/other");
  set.files.setContent("/other/x.dat", set.files.content(set.dataPath));
  set.files.setContent("/v/c.dat", set.files.content(set.dataPath));
  for (const std::string name : {"/other/x.dat", "../other/x.dat", "a.ldm", "a.fcp", "none.dat", "%s%n.dat"}) {
    SampleSet changed;
    changed.replaceInHeader(">a.dat<", ">" + name + "<");
    EXPECT_THAT(changed.openMessage(), HasSubstr(name)) << name;
  }
  // Another name in the folder is fine when the file belongs to the set.
  set.replaceInHeader(">a.dat<", ">c.dat<");
  EXPECT_EQ(set.read(), sampleTiles(1));
}
