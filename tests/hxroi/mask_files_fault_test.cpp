#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <string>

#include "hxroi/details/MaskFiles.h"
#include "hxroi/details/MaskHeader.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/voxora/files/MemoryFileSystem.h"
#include "quarn/voxora/files/TiledFileReader.h"
#include "quarn/voxora/files/TiledFileWriter.h"

/// Copying and header edits on a file system whose n-th changing call fails.

namespace MaskFiles = hxroi::details::MaskFiles;
using namespace hxvoxora;

namespace {

/// Fails the call number `failing` and, unless it recovers, all behind it.
class FaultyFileSystem : public MemoryFileSystem {
public:
  class File : public OutputFile {
  public:
    File(FaultyFileSystem& system, std::unique_ptr<OutputFile> file)
        : OutputFile(file->path()), system_(system), file_(std::move(file)) {}
    void append(std::span<const std::byte> bytes) override {
      system_.step();
      file_->append(bytes);
    }
    void sync() override {
      system_.step();
      file_->sync();
    }
    void close() override {
      system_.step();
      file_->close();
    }

  private:
    FaultyFileSystem& system_;
    std::unique_ptr<OutputFile> file_;
  };

  std::unique_ptr<OutputFile> createExclusively(const std::string& path, Access access) override {
    step();
    return std::make_unique<File>(*this, MemoryFileSystem::createExclusively(path, access));
  }
  void rename(const std::string& from, const std::string& to) override {
    step();
    MemoryFileSystem::rename(from, to);
  }
  bool remove(const std::string& path) override {
    step();
    return MemoryFileSystem::remove(path);
  }
  void syncDirectory(const std::string& directory) override {
    step();
    MemoryFileSystem::syncDirectory(directory);
  }

  void failAt(int call, bool forever) {
    calls = 0;
    failing_ = call;
    forever_ = forever;
  }
  void recover() { failAt(std::numeric_limits<int>::max(), false); }

  int calls = 0;

private:
  void step() {
    const int call = calls++;
    if (call == failing_ || (forever_ && call > failing_)) throw McException("injected fault");
  }

  int failing_ = std::numeric_limits<int>::max();
  bool forever_ = false;
};

class MaskFilesFaults : public ::testing::Test {
protected:
  HxRecordingSink console;

  /// A set with one stored tile of the given byte.
  static std::uint64_t write(FaultyFileSystem& files, const std::string& prefix, int value) {
    VolumeHeader header;
    header.dimensions = {64, 64, 64};
    header.tileDimensions = {64, 64, 64};
    TiledFileWriter writer(files, prefix + ".ldm", header);
    writer.put(0, std::vector<std::byte>(64 * 64 * 64 / 8, static_cast<std::byte>(value)));
    writer.commit();
    return writer.header().generation;
  }

  /// The byte that the voxels of a set are made of.
  static int read(FaultyFileSystem& files, const std::string& prefix) {
    const auto reader = TiledFileReader::open(files, prefix + ".ldm");
    std::vector<std::byte> bits(reader->header().tileBytes());
    reader->read(0, bits);
    EXPECT_EQ(reader->header().dataFile, prefix.substr(1) + ".dat");
    return static_cast<int>(bits.front());
  }

  /// Runs the copy with each call failing in turn, until one run goes through.
  void walk(bool hasOlderTarget, bool forever, const std::function<void(FaultyFileSystem&, bool, int)>& check) {
    for (int call = 0;; ++call) {
      SCOPED_TRACE("failing call " + std::to_string(call));
      FaultyFileSystem files;
      write(files, "/source", 1);
      if (hasOlderTarget) write(files, "/target", 2);
      files.failAt(call, forever);
      bool hasFailed = false;
      try {
        MaskFiles::copy(files, "/source", "/target");
      } catch (const McException& failure) {
        hasFailed = true;
        EXPECT_STREQ(failure.what(), "injected fault");
      }
      const int calls = files.calls;
      files.recover();
      check(files, hasFailed, call);
      if (calls <= call) {
        EXPECT_FALSE(hasFailed);
        return;
      }
      ASSERT_LT(call, 100);
    }
  }
};

}  // namespace

TEST_F(MaskFilesFaults, OlderTargetOrTheCopyIsWholeAfterAnyFault) {
  for (const bool forever : {false, true}) {
    walk(true, forever, [](FaultyFileSystem& files, bool hasFailed, int) {
      const int value = read(files, "/target");
      EXPECT_TRUE(value == 1 || (hasFailed && value == 2)) << value;
      EXPECT_EQ(read(files, "/source"), 1);
      MaskFiles::copy(files, "/source", "/target");
      EXPECT_EQ(read(files, "/target"), 1) << "another try works";
    });
  }
}

TEST_F(MaskFilesFaults, NothingHalfMadeIsLeftAfterAPassingFault) {
  walk(false, false, [](FaultyFileSystem& files, bool hasFailed, int) {
    const bool isComplete = files.kind("/target.ldm") == FileKind::regular;
    EXPECT_TRUE(isComplete || hasFailed);
    for (const std::string& name : files.list("/")) {
      const bool isExpected = name.rfind("source.", 0) == 0 || (isComplete && name.rfind("target.", 0) == 0);
      EXPECT_TRUE(isExpected && name.find('~') == std::string::npos) << name;
    }
  });
}

TEST_F(MaskFilesFaults, SetThatIsBeingReplacedIsCopiedFromWhereItIs) {
  FaultyFileSystem files;
  write(files, "/source", 1);
  write(files, "/target", 2);
  for (int call = 0; call < 100; ++call) {
    files.failAt(call, true);
    try {
      MaskFiles::copy(files, "/source", "/target");
    } catch (const McException&) {
    }
    files.recover();
    const int value = read(files, "/target");
    MaskFiles::copy(files, "/target", "/second");
    EXPECT_EQ(read(files, "/second"), value) << call;
    if (value == 1) return;
  }
  FAIL() << "the copy never went through";
}

TEST_F(MaskFilesFaults, HeaderIsTheOldOrTheNewOneAfterAnyFault) {
  for (int call = 0;; ++call) {
    FaultyFileSystem files;
    write(files, "/mask", 1);
    const std::string before = MaskFiles::readHeader(files, "/mask.ldm");
    const auto after = hxroi::details::MaskHeader::withBoxes(before, McBox3i(0, 1, 0, 1, 0, 1), std::nullopt);
    ASSERT_TRUE(after);
    files.failAt(call, false);
    bool hasFailed = false;
    try {
      MaskFiles::writeHeader(files, "/mask.ldm", *after);
    } catch (const McException&) {
      hasFailed = true;
    }
    files.recover();
    const std::string now = MaskFiles::readHeader(files, "/mask.ldm");
    EXPECT_TRUE(now == *after || (hasFailed && now == before));
    EXPECT_EQ(read(files, "/mask"), 1);
    if (!hasFailed) return;
    ASSERT_LT(call, 20);
  }
}
