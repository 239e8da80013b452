#include <QCryptographicHash>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <span>
#include <unordered_map>

#include "CrashedDisk.h"
#include "EnvironmentScope.h"
#include "SetStateTest.h"
#include "legacyFiles.h"
#include "quarn/voxora/files/FaultFileSystem.h"
#include "tests/support/stride.h"

/// ROI sets after the end of the computer at any moment of a save: whatever part of what was not synced is missing, the
/// old or the new set is there.

using hxvoxora::FaultFileSystem;
using hxvoxora::FileCall;
using hxvoxora::FileSystem;
using hxvoxora::FileSystemOverride;

namespace {

constexpr McVec3i kGrid(40, 33, 36);

class SetPowerLoss : public SetStateTest {
protected:
  SetPowerLoss() : disk_(folder / "disk"), copy_(folder / "copy") {
    fs::create_directory(disk_);
    file = disk_ / "set.ROIs.qm";
    masks = disk_ / "set.ROIs-masks";
    const char* given = std::getenv("QUARN_TEST_SEED");
    seed_ = given ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10)) : std::random_device()();
    const char* states = std::getenv("QUARN_TEST_STATES");
    states_ = states ? std::strtoul(states, nullptr, 10) : 4000 / testStride();
    std::printf("QUARN_TEST_SEED=%u QUARN_TEST_STATES=%lu\n", seed_, states_);
    random_.seed(seed_);
  }

  Mask* addNoise(const std::string& name, const McVec3i& size) {
    Mask* mask = addMask(name, kGrid);
    changeNoise(*mask, size);
    return mask;
  }

  void changeNoise(Mask& mask, const McVec3i& size) {
    auto box = mask.getBox({0, 0, 0}, size, hxroi::AccessMode::WriteOnly);
    for (auto bit : box) bit = (random_() & 1) != 0;
  }

  void fillFirst() {
    addNoise("A", kGrid);
    const McHandle<Group> group(new Group("G", McColor(1, 0, 0), nullptr));
    group->addMask(makeMask("B", kGrid));
    group->addMask(makeMask("C", kGrid));
    rois->addRoi(group);
    changeNoise(*rois->getMask("B"), {9, 9, 9});
    addNoise("D", {5, 5, 5});
    rois->parameters.set("Note", "first");
  }

  static std::string textOf(const State& state) {
    std::string text;
    for (const auto& [name, line] : state) text += name + ": " + line + "\n";
    return text;
  }

  /// Saves, and notes how far the disk is when the save is said to be done.
  void saveRecorded(const DiskRecorder& recorder) {
    ASSERT_EQ(save(), 1) << console.consoleText();
    noteSaved(recorder);
  }

  /// The end of the computer comes later than what was done until now, which is on stable storage.
  void beginHere(const DiskRecorder& recorder) {
    begin_ = recorder.changeCount();
    noteSaved(recorder);
  }

  /// Puts the set on the disk with masks of the older layout.
  void saveLegacy(DiskRecorder& recorder) {
    ASSERT_EQ(save(), 1) << console.consoleText();
    const fs::path aside = folder / "aside";
    fs::create_directory(aside);
    for (const char* name : {"A", "B", "D"}) {
      makeLegacy(*rois->getMask(name), aside / name);
      for (const char* suffix : {".ldm", ".fcp", ".dat"}) {
        const std::string content = contentOf(aside / (std::string(name) + suffix));
        const std::string target = (masks / (std::string(name) + suffix)).string();
        recorder.remove(target);
        const auto output = recorder.createExclusively(target, FileSystem::Access::byMask);
        output->append(std::as_bytes(std::span(content)));
        output->sync();
        output->close();
      }
    }
    recorder.syncDirectory(masks.string());
    recorder.syncDirectory(disk_.string());
    beginHere(recorder);
  }

  /// From now on the set as it is must be there.
  void noteSaved(const DiskRecorder& recorder) { saves_.push_back({recorder.changeCount(), textOf(stateOf(*rois))}); }

  void rename(const std::vector<std::string>& from, const std::vector<std::string>& to) {
    std::vector<Mask*> renamed;
    for (const std::string& name : from) renamed.push_back(rois->getMask(name));
    for (Mask* mask : renamed) mask->setName("away" + mask->name());
    for (std::size_t i = 0; i < to.size(); ++i) renamed[i]->setName(to[i]);
  }

  /// Runs `work` on a recorded disk, then opens what the end of the computer may have left of it.
  void endAtEveryMoment(const std::function<void(DiskRecorder&)>& work) {
    std::vector<DiskChange> changes;
    {
      DiskRecorder recorder(FileSystem::posix(), disk_.string());
      const FileSystemOverride current(recorder);
      work(recorder);
      changes = recorder.changes();
      rois = nullptr;
      hxroi::details::TemporaryFolder::leave();
    }
    ASSERT_FALSE(HasFatalFailure());
    const CrashedDisk crashed(changes);
    hxvoxora::PassingFileSystem plain(FileSystem::posix());
    const FileSystemOverride current(plain);
    int bad = 0;
    for (std::size_t state = 0; state < states_ && bad < 5; ++state) {
      const std::size_t end = begin_ + state % (changes.size() + 1 - begin_);
      const auto names = static_cast<CrashedDisk::Kept>(random_() % CrashedDisk::kKeptKinds);
      const auto bytes = static_cast<CrashedDisk::Kept>(random_() % CrashedDisk::kKeptKinds);
      const auto tree = crashed.after(end, names, bytes, random_);
      const std::string found = loadCopy(tree);
      if (isAllowed(found, end)) continue;
      ++bad;
      ADD_FAILURE() << "state " << state << ": after " << end << " of " << changes.size() << " changes, names kept "
                    << static_cast<int>(names) << ", bytes kept " << static_cast<int>(bytes) << "\n"
                    << listing(tree) << "loaded as:\n"
                    << found;
    }
    std::printf("%zu changes, %zu states, %zu different ones\n", changes.size(), states_, loaded_.size());
    EXPECT_GT(loaded_.size(), std::min((changes.size() - begin_) / 2, states_ / 4)) << "hardly any state differs";
  }

private:
  struct Save {
    std::size_t end;    ///< changes made when it was done
    std::string state;  ///< what was saved
  };

  /// What is found is the set of the last save that was done, or of the one at work.
  bool isAllowed(const std::string& found, std::size_t end) const {
    std::string done = "nothing";
    for (const Save& save : saves_) {
      if (save.end > end) return found == done || found == save.state;
      done = save.state;
    }
    return found == done;
  }

  static std::string listing(const CrashedDisk::Tree& tree) {
    std::string text;
    for (const auto& [name, content] : tree) {
      text += "  " + name + (content ? " " + std::to_string(content->size()) : "/") + "\n";
    }
    return text;
  }

  static QByteArray digestOf(const CrashedDisk::Tree& tree) {
    QCryptographicHash hash(QCryptographicHash::Sha1);
    for (const auto& [name, content] : tree) {
      hash.addData(QByteArrayView(name.c_str(), static_cast<qsizetype>(name.size()) + 1));
      if (!content) continue;
      hash.addData(QByteArray::number(static_cast<qulonglong>(content->size())));
      hash.addData(QByteArrayView(content->data(), static_cast<qsizetype>(content->size())));
    }
    return hash.result();
  }

  std::string loadCopy(const CrashedDisk::Tree& tree) {
    const auto [known, isNew] = loaded_.try_emplace(digestOf(tree).toStdString());
    if (!isNew) return known->second;
    fs::remove_all(copy_);
    fs::create_directory(copy_);
    for (const auto& [name, content] : tree) {
      if (!content) {
        fs::create_directory(copy_ / name);
        continue;
      }
      std::ofstream stream((copy_ / name).string(), std::ios::binary);
      stream.write(reinterpret_cast<const char*>(content->data()), static_cast<std::streamsize>(content->size()));
      stream.close();
      takeOverTime(name);
    }
    known->second = stateOfCopy();
    // What was finished by opening the set is there the next time too.
    if (loaded_.size() % 16 == 0) {
      EXPECT_EQ(stateOfCopy(), known->second);
    }
    return known->second;
  }

  /// Times are not recorded; the disk itself has those of files that stay.
  void takeOverTime(const std::string& name) const {
    const auto original = std::filesystem::path((disk_ / name).string());
    std::error_code missing;
    const auto time = std::filesystem::last_write_time(original, missing);
    if (!missing) std::filesystem::last_write_time(std::filesystem::path((copy_ / name).string()), time);
  }

  std::string stateOfCopy() {
    const fs::path upgraded = copy_ / "set-upgraded.ROIs.qm";
    const fs::path copy = fs::exists(upgraded) ? upgraded : copy_ / file.filename();
    if (!fs::exists(copy)) return "nothing";
    console.clear();
    try {
      const auto mesh = QuarnMesh::read(QString::fromStdString(copy.string()));
      const McHandle<HxRois> set(new HxRois);
      QString name;
      if (set->readQuarnMesh(mesh.get(), copy.c_str(), name)) return textOf(stateOf(*set));
      return "refused: " + console.consoleText();
    } catch (const std::exception& failure) {
      return std::string("failed: ") + failure.what();
    }
  }

  const fs::path disk_;
  const fs::path copy_;
  std::uint32_t seed_;
  std::size_t states_;
  std::mt19937 random_;
  std::size_t begin_ = 0;
  std::vector<Save> saves_;
  std::unordered_map<std::string, std::string> loaded_;
};

}  // namespace

TEST_F(SetPowerLoss, SavesAndSavesOver) {
  endAtEveryMoment([&](DiskRecorder& recorder) {
    fillFirst();
    saveRecorded(recorder);
    changeNoise(*rois->getMask("A"), {11, 12, 13});
    rois->getRoi("G")->setColor(McColor(0, 1, 0));
    rois->parameters.set("Note", "second");
    saveRecorded(recorder);
    rois->removeRoi("D");
    addNoise("E", {20, 20, 20});
    rois->getMask("C")->setId("another");
    rois->parameters.set("Note", "third");
    saveRecorded(recorder);
  });
}

TEST_F(SetPowerLoss, SavesWithExchangedNames) {
  endAtEveryMoment([&](DiskRecorder& recorder) {
    fillFirst();
    saveRecorded(recorder);
    rois = load(file);
    rename({"A", "B"}, {"B", "A"});
    saveRecorded(recorder);
    rois = load(file);
    rename({"B", "D", "C"}, {"D", "C", "B"});
    rois->parameters.set("Note", "third");
    saveRecorded(recorder);
  });
}

TEST_F(SetPowerLoss, SavesASetWhoseFileWasRenamed) {
  endAtEveryMoment([&](DiskRecorder& recorder) {
    fillFirst();
    const fs::path former = file.parent_path() / "former.ROIs.qm";
    ASSERT_EQ(rois->writeQuarnMesh(former.c_str()), 1);
    recorder.rename(former.string(), file.string());
    recorder.syncDirectory(file.parent_path().string());
    noteSaved(recorder);
    rois = load(file);
    changeNoise(*rois->getMask("A"), {11, 12, 13});
    rois->parameters.set("Note", "second");
    saveRecorded(recorder);
  });
}

TEST_F(SetPowerLoss, FinishesASaveThatWasInterrupted) {
  std::unique_ptr<FaultFileSystem> files;  // masks may keep it until the end
  endAtEveryMoment([&](DiskRecorder& recorder) {
    fillFirst();
    saveRecorded(recorder);
    changeNoise(*rois->getMask("A"), {11, 12, 13});
    rois->removeRoi("D");
    rois->parameters.set("Note", "second");
    const std::string wanted = textOf(stateOf(*rois));
    files = std::make_unique<FaultFileSystem>(recorder);
    for (std::uint64_t call = 1; !fs::exists(masks / ".committed"); ++call) {
      const FileSystemOverride current(*files);
      files->arm({.call = call, .only = FileCall::rename, .extent = FaultFileSystem::Extent::killed});
      ASSERT_EQ(save(), 0);
      files->disarm();
    }
    rois = load(file);
    ASSERT_EQ(textOf(stateOf(*rois)), wanted);
    noteSaved(recorder);
  });
}

TEST_F(SetPowerLoss, UpgradesBesideTheOldSet) {
  const EnvironmentScope test("RUNNING_TEST", "1");
  endAtEveryMoment([&](DiskRecorder& recorder) {
    fillFirst();
    saveLegacy(recorder);
    rois = load(file);
    EXPECT_TRUE(fs::exists(file.parent_path() / "set-upgraded.ROIs.qm"));
    noteSaved(recorder);
  });
}

TEST_F(SetPowerLoss, UpgradesInThePlaceOfTheOldSet) {
  HxRois::replaceExistingROIsWhenUpgrading(true);
  endAtEveryMoment([&](DiskRecorder& recorder) {
    fillFirst();
    saveLegacy(recorder);
    rois = load(file);
    EXPECT_TRUE(fs::exists(file.string() + "-legacy"));
    noteSaved(recorder);
  });
  HxRois::replaceExistingROIsWhenUpgrading(false);
}
