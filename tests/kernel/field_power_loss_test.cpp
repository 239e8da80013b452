#include <cstdio>
#include <set>

#include "tests/hxroi/CrashedDisk.h"
#include "tests/kernel/FieldFileTest.h"
#include "tests/support/stride.h"
#include "tests/voxora/RandomSource.h"

/// Fields after the end of the computer at any moment of a save: whatever part of what was not synced is missing, the
/// old or the new field is there, whole.

using hxvoxora::FileSystemOverride;

namespace {

class FieldPowerLoss : public FieldFileTest {
protected:
  struct Save {
    std::size_t end;  ///< changes made when it was done
    std::string content;
  };

  /// A small field of a kind of its own for each number.
  static Field makeSmall(int number) {
    const Field field(new HxUniformScalarField3(McDim3l(20 + number, 11, 7), McPrimType::Uint16));
    for (std::int64_t x = 0; x < 20; ++x) field->setValue(x, 3, 2, static_cast<double>(1000 * number + x));
    field->parameters.set("number", number);
    return field;
  }

  static std::string textOf(const HxUniformScalarField3& field) {
    const FieldContent content(field);
    std::string text = content.parameters;
    for (const std::byte byte : content.voxels) text += static_cast<char>(byte);
    return text;
  }

  void saveRecorded(const DiskRecorder& recorder, int number) {
    const Field field = makeSmall(number);
    HxFieldFile::save(*field, qpath());
    saves.push_back({recorder.changeCount(), textOf(*field)});
  }

  /// What is there of this disk.
  static std::string found(const CrashedDisk::Tree& tree) {
    hxvoxora::MemoryFileSystem rest;
    rest.makeDirectory("/d");
    for (const auto& [name, content] : tree)
      if (content) rest.setContent(path(name), *content);
    if (rest.kind(path()) == hxvoxora::FileKind::missing) return "nothing";
    const FileSystemOverride current(rest);
    try {
      return textOf(*HxFieldFile::read(qpath()));
    } catch (const McException& failure) {
      return failure.what();
    }
  }

  /// The field of the last save that was done, or of the one at work.
  bool isAllowed(const std::string& content, std::size_t end) const {
    std::string done = "nothing";
    for (const Save& save : saves) {
      if (save.end > end) return content == done || content == save.content;
      done = save.content;
    }
    return content == done;
  }

  std::vector<Save> saves;
};

}  // namespace

TEST_F(FieldPowerLoss, LeavesTheOldFieldOrTheNewOne) {
  RandomSource source;
  std::mt19937 random(static_cast<std::uint32_t>(source.word()));
  DiskRecorder recorder(disk, "/d");
  {
    const FileSystemOverride current(recorder);
    for (const int number : {1, 2, 3}) saveRecorded(recorder, number);
  }
  const std::vector<DiskChange> changes = recorder.changes();
  const CrashedDisk crashed(changes);
  const std::size_t states = 20000 / testStride();
  std::set<std::string> differing;
  for (std::size_t state = 0; state < states; ++state) {
    const std::size_t end = state % (changes.size() + 1);
    const auto names = static_cast<CrashedDisk::Kept>(random() % CrashedDisk::kKeptKinds);
    const auto bytes = static_cast<CrashedDisk::Kept>(random() % CrashedDisk::kKeptKinds);
    const std::string content = found(crashed.after(end, names, bytes, random));
    differing.insert(content);
    ASSERT_TRUE(isAllowed(content, end)) << "after " << end << " of " << changes.size() << " changes, names kept "
                                         << static_cast<int>(names) << ", bytes kept " << static_cast<int>(bytes)
                                         << ": " << content.substr(0, 1000);
  }
  EXPECT_EQ(differing.size(), 4u) << "nothing, and each of the three fields";
}
