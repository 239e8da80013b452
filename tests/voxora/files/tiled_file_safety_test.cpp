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
using hxvoxora::InputFile;
using hxvoxora::MemoryFileSystem;
using hxvoxora::OutputFile;
using testing::ElementsAre;
using testing::HasSubstr;
using volumefiles::Bytes;
using volumefiles::messageOf;
using volumefiles::sampleHeader;
using volumefiles::SampleSet;
using volumefiles::sampleTiles;
using volumefiles::Tiles;

namespace {

/// Memory whose n-th changing call fails, alone or with all that follow; the latter is what a killed process looks
/// like to those who come after it.
class FailingFiles : public MemoryFileSystem {
public:
  /// Starts counting; call number `first` (from 1) fails.
  void arm(int first, bool forever) {
    calls_ = 0;
    first_ = first;
    forever_ = forever;
  }
  void disarm() { first_ = 0; }
  bool reached() const { return first_ > 0 && calls_ >= first_; }

  std::unique_ptr<OutputFile> createExclusively(const std::string& path, Access access) override {
    step("open", path);
    return std::make_unique<FailingOutput>(*this, MemoryFileSystem::createExclusively(path, access));
  }
  void rename(const std::string& from, const std::string& to) override {
    step("rename", from);
    MemoryFileSystem::rename(from, to);
  }
  bool remove(const std::string& path) override {
    step("unlink", path);
    return MemoryFileSystem::remove(path);
  }
  void syncDirectory(const std::string& directory) override {
    step("fsync", directory);
    MemoryFileSystem::syncDirectory(directory);
  }

private:
  class FailingOutput : public OutputFile {
  public:
    FailingOutput(FailingFiles& files, std::unique_ptr<OutputFile> file)
        : OutputFile(file->path()), files_(files), file_(std::move(file)) {}

    /// A failing write leaves half of its bytes.
    void append(std::span<const std::byte> bytes) override {
      try {
        files_.step("write", path());
      } catch (...) {
        file_->append(bytes.first(bytes.size() / 2));
        throw;
      }
      file_->append(bytes);
    }
    void sync() override { files_.step("fsync", path()); }
    void close() override { files_.step("close", path()); }

  private:
    FailingFiles& files_;
    std::unique_ptr<OutputFile> file_;
  };

  void step(const char* call, const std::string& path) {
    if (first_ == 0) return;
    ++calls_;
    if (calls_ == first_ || (forever_ && calls_ > first_)) {
      throw McException(std::string(call) + " " + path + ": No space left on device");
    }
  }

  int calls_ = 0;
  int first_ = 0;
  bool forever_ = false;
};

/// Saves over a set with every call failing in turn; returns how many calls a save has.
int failEveryCall(bool forever, bool mayLeaveFiles) {
  for (int call = 1;; ++call) {
    FailingFiles files;
    volumefiles::write(files, "a.ldm", sampleHeader(), sampleTiles(1));
    files.arm(call, forever);
    std::string message;
    try {
      volumefiles::write(files, "a.ldm", sampleHeader(), sampleTiles(2));
    } catch (const McException& failure) {
      message = failure.what();
    }
    const bool reached = files.reached();
    files.disarm();
    const Tiles found = volumefiles::read(files, "a.ldm");
    if (!reached) {
      EXPECT_EQ(message, "");
      EXPECT_EQ(found, sampleTiles(2));
      return call - 1;
    }
    EXPECT_TRUE(found == sampleTiles(1) || found == sampleTiles(2)) << call << " " << message;
    if (message.empty()) {
      EXPECT_EQ(found, sampleTiles(2)) << call;
    } else {
      EXPECT_THAT(message, HasSubstr("No space left")) << call;
    }
    if (!mayLeaveFiles && !message.empty() && found == sampleTiles(1)) {
      EXPECT_THAT(files.list(""), ElementsAre("a.dat", "a.fcp", "a.ldm")) << call << " " << message;
    }

    // The next save finds its way whatever was left.
    volumefiles::write(files, "a.ldm", sampleHeader(), sampleTiles(3));
    EXPECT_EQ(volumefiles::read(files, "a.ldm"), sampleTiles(3)) << call;
  }
}

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

TEST(TiledFileSafety, AnyCallMayFailOnce) {
  EXPECT_GT(failEveryCall(false, false), 15);
}

TEST(TiledFileSafety, AnyCallMayBeTheLast) {
  EXPECT_GT(failEveryCall(true, true), 15);
}

TEST(TiledFileSafety, TwoCutOffSavesLeaveAWholeSet) {
  for (int first = 1; first < 25; ++first) {
    for (int second = 1; second < 25; ++second) {
      FailingFiles files;
      volumefiles::write(files, "a.ldm", sampleHeader(), sampleTiles(1));
      for (const int call : {first, second}) {
        files.arm(call, true);
        try {
          volumefiles::write(files, "a.ldm", sampleHeader(), sampleTiles(2));
        } catch (const McException&) {
          // What counts is what the files hold afterwards.
        }
        files.disarm();
      }
      const Tiles found = volumefiles::read(files, "a.ldm");
      ASSERT_TRUE(found == sampleTiles(1) || found == sampleTiles(2)) << first << " " << second;
    }
  }
}

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
}

TEST(TiledFileSafety, FirstSaveThatFailsLeavesNothing) {
  for (int call = 1;; ++call) {
    FailingFiles files;
    files.arm(call, false);
    try {
      volumefiles::write(files, "a.ldm", sampleHeader(), sampleTiles(1));
    } catch (const McException&) {
      if (files.kind("a.ldm") == hxvoxora::FileKind::missing) {
        EXPECT_THAT(files.list(""), ElementsAre()) << call;
      } else {
        EXPECT_EQ(volumefiles::read(files, "a.ldm"), sampleTiles(1)) << call;
      }
    }
    if (!files.reached()) break;
  }
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
