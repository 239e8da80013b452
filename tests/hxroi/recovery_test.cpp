#include <QProcess>
#include <csignal>
#include <map>
#include <memory>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

#include "hxroi/HxRois.h"
#include "hxroi/detail/RecoveredMasks.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/LeftOvers.h"
#include "hxroi/details/TemporaryFolder.h"
#include "quarn/kernel/io/HxRecovery.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "tests/hxroi/MaskTest.h"
#include "tests/hxroi_worker/randomMask.h"

using hxroi::RecoveredMasks;
using hxroi::details::Group;

namespace {

/// Another process that makes masks in the same temporary storage.
class Worker {
public:
  Worker(const boost::filesystem::path& temporary, const char* mode, int count, unsigned seed) {
    process_.start(QStringLiteral(HXROI_WORKER),
                   {QString::fromStdString(temporary.string()), mode, QString::number(count), QString::number(seed)});
    EXPECT_TRUE(process_.waitForStarted());
  }
  ~Worker() { kill(); }

  void waitUntilReady() {
    while (!output_.contains("ready\n")) {
      ASSERT_TRUE(process_.waitForReadyRead(60000)) << process_.readAllStandardError().toStdString();
      output_ += process_.readAllStandardOutput();
    }
  }

  /// As the end of the power would.
  void kill() {
    if (process_.state() != QProcess::Running) return;
    ::kill(static_cast<pid_t>(process_.processId()), SIGKILL);
    process_.waitForFinished(60000);
  }

  bool isRunning() {
    process_.waitForReadyRead(1);
    output_ += process_.readAllStandardOutput();
    return process_.state() == QProcess::Running;
  }

  /// Exit status; -1 when it was killed.
  int status() const { return process_.exitStatus() == QProcess::NormalExit ? process_.exitCode() : -1; }

  std::string errors() { return process_.readAllStandardError().toStdString(); }

  std::vector<std::string> prefixes() {
    output_ += process_.readAllStandardOutput();
    std::vector<std::string> lines;
    for (const QByteArray& line : output_.split('\n')) {
      if (line.startsWith('/')) lines.push_back(line.toStdString());
    }
    return lines;
  }

  /// The identifiers that it printed, by the names of the ROIs.
  std::map<std::string, std::string> ids() {
    output_ += process_.readAllStandardOutput();
    std::map<std::string, std::string> ids;
    for (const QByteArray& line : output_.split('\n')) {
      const QList<QByteArray> words = line.split(' ');
      if (words.size() == 3 && words[0] == "id") ids[words[1].toStdString()] = words[2].toStdString();
    }
    return ids;
  }

private:
  QProcess process_;
  QByteArray output_;
};

class Recovery : public MaskTest {
protected:
  path temporary() const { return folder / "temporary"; }

  /// Leaves masks as a killed process would.
  void leaveMasks(int count, unsigned seed) const {
    Worker worker(temporary(), "hold", count, seed);
    worker.waitUntilReady();
    worker.kill();
  }

  /// Everything in the folder, marks too.
  std::vector<std::string> allFiles() const {
    std::vector<std::string> names;
    if (!exists((temporary() / "tmp-masks").string())) return names;
    for (const auto& entry : boost::filesystem::directory_iterator(temporary() / "tmp-masks"))
      names.push_back(entry.path().filename().string());
    return names;
  }

  path fileOf(const RecoveredMasks::Entry& entry, const char* extension) const {
    return temporary() / "tmp-masks" / (entry.files.stem + extension);
  }
};

}  // namespace

TEST_F(Recovery, NothingIsLeftByProcessesThatEnd) {
  {
    Worker worker(temporary(), "churn", 3, 1);
    while (worker.isRunning()) continue;
    EXPECT_EQ(worker.status(), 0) << worker.errors();
  }
  EXPECT_TRUE(allFiles().empty());
  EXPECT_FALSE(RecoveredMasks::any());
}

TEST_F(Recovery, MasksOfALivingProcessAreNotTouched) {
  Worker worker(temporary(), "hold", 2, 1);
  worker.waitUntilReady();
  EXPECT_FALSE(RecoveredMasks::any());
  EXPECT_EQ(RecoveredMasks().removeAll(), 0);
  for (const std::string& prefix : worker.prefixes()) EXPECT_TRUE(exists(prefix + ".ldm"));
  worker.kill();
  EXPECT_TRUE(RecoveredMasks::any());
}

TEST_F(Recovery, MasksOfAKilledProcessComeBackVoxelByVoxel) {
  const auto seed = static_cast<unsigned>(seededRandom()());
  leaveMasks(4, seed);
  std::mt19937 random(seed);
  std::vector<McHandle<HxRois>> sets;
  {
    RecoveredMasks recovered;
    sets = recovered.load();
    EXPECT_EQ(recovered.removeLoaded(), 4);
  }
  ASSERT_EQ(sets.size(), 1U);
  ASSERT_EQ(sets[0]->getNumberOfMasks(), 4U);
  for (int i = 0; i < 4; ++i) {
    const Mask* mask = sets[0]->getMask("mask" + std::to_string(i));
    ASSERT_TRUE(mask) << i;
    EXPECT_TRUE(mask->ownsTemporaryFiles());
    EXPECT_EQ(bitsOf(*mask), randommask::bits(random)) << "seed " << seed << ", mask " << i;
  }
  EXPECT_FALSE(RecoveredMasks::any());
  sets.clear();
  EXPECT_TRUE(temporaryFiles().empty());
}

TEST_F(Recovery, RecoveredMasksAreLeftOversAgainWhenTheirProcessIsKilledToo) {
  leaveMasks(1, 7);
  RecoveredMasks recovered;
  const auto sets = recovered.load();
  EXPECT_EQ(recovered.removeLoaded(), 1);
  const Mask* mask = sets.at(0)->getMask("mask0");
  EXPECT_TRUE(exists(mask->temporaryPrefix() + ".ldm"));
  EXPECT_NE(textOf(mask->temporaryPrefix() + ".ldm").find("<Name>mask0</Name>"), std::string::npos);
}

/// A set of masks 0 to 3, all but the first in a group, and an empty one.
class RecoveredSet : public Recovery {
protected:
  RecoveredSet() {
    Worker worker(temporary(), "set", 4, seed);
    worker.waitUntilReady();
    ids = worker.ids();
    worker.kill();
  }

  path record() const {
    for (const auto& entry : boost::filesystem::directory_iterator(temporary() / "tmp-masks"))
      if (entry.path().extension() == ".set") return entry.path();
    return {};
  }

  static constexpr unsigned seed = 23;
  std::map<std::string, std::string> ids;
};

TEST_F(RecoveredSet, ComesBackWhole) {
  RecoveredMasks recovered;
  const auto sets = recovered.load();
  ASSERT_EQ(sets.size(), 1U);
  const HxRois& rois = *sets[0];
  EXPECT_EQ(rois.getLabel(), "atlas [x] \"y\"");
  std::string species;
  EXPECT_TRUE(rois.parameters.findString("species", species));
  EXPECT_EQ(species, "mouse");
  std::vector<std::string> names;
  for (const auto& roi : rois) names.push_back(roi->name());
  EXPECT_EQ(names, (std::vector<std::string>{"mask0", "Group", "Empty"}));
  const Group* group = rois.getGroup("Group");
  ASSERT_TRUE(group);
  EXPECT_EQ(group->size(), 3U);
  EXPECT_EQ(group->color(false), McColor(0, 0, 1));
  EXPECT_EQ(group->stringProperty("side", false), "left");
  std::mt19937 random(seed);
  for (int i = 0; i < 4; ++i) {
    const Mask* mask = rois.getMask("mask" + std::to_string(i));
    ASSERT_TRUE(mask) << i;
    EXPECT_EQ(bitsOf(*mask), randommask::bits(random)) << i;
    EXPECT_EQ(mask->color(false), McColor(static_cast<float>(i) / 8, 0.5F, 0));
    EXPECT_EQ(mask->intProperty("number", false), i);
  }
  EXPECT_EQ(rois.getMask("Empty")->dimensions(), randommask::kGrid);
  EXPECT_EQ(ids.size(), 6U);
  for (const auto& [name, id] : ids) EXPECT_EQ(rois.getRoi(name)->id(), id) << name;
  EXPECT_EQ(recovered.removeLoaded(), 5);
  EXPECT_FALSE(RecoveredMasks::any());
}

TEST_F(RecoveredSet, ListTellsOfIt) {
  const auto entries = RecoveredMasks::examine();
  const auto set = std::find_if(entries.begin(), entries.end(), [](const auto& entry) { return entry.isSet; });
  ASSERT_NE(set, entries.end());
  EXPECT_EQ(set->name, "atlas [x] \"y\"");
  EXPECT_EQ(set->masks, 5);
  EXPECT_EQ(set->problem, "");
}

TEST_F(RecoveredSet, MasksWithoutTheirRecordStillComeBack) {
  boost::filesystem::remove(record());
  const auto sets = RecoveredMasks().load();
  ASSERT_EQ(sets.size(), 1U);
  EXPECT_EQ(sets[0]->getNumberOfMasks(), 4U);
}

TEST_F(RecoveredSet, ADamagedRecordIsToldAndItsMasksStillComeBack) {
  boost::filesystem::resize_file(record(), boost::filesystem::file_size(record()) / 2);
  RecoveredMasks recovered;
  const auto sets = recovered.load();
  ASSERT_EQ(sets.size(), 1U);
  EXPECT_EQ(sets[0]->getNumberOfMasks(), 4U);
  EXPECT_EQ(recovered.removeLoaded(), 4);
  const auto left = RecoveredMasks::examine();
  ASSERT_EQ(left.size(), 1U);
  EXPECT_TRUE(left[0].isSet);
  EXPECT_NE(left[0].problem, "");
}

TEST_F(RecoveredSet, AMaskThatIsLostIsToldAndTheRestComesBack) {
  for (const auto& entry : RecoveredMasks::examine()) {
    if (entry.name == "mask2") boost::filesystem::remove(fileOf(entry, ".dat"));
  }
  const auto before = allFiles();
  RecoveredMasks recovered;
  const auto sets = recovered.load();
  ASSERT_EQ(sets.size(), 1U) << "the other masks are in this set and in no second one";
  EXPECT_EQ(sets[0]->getNumberOfMasks(), 4U);
  EXPECT_EQ(sets[0]->getMask("mask2"), nullptr);
  EXPECT_EQ(recovered.removeLoaded(), 0) << "what is missing may come back";
  for (const std::string& name : before) {
    if (name.ends_with(".lock")) continue;
    EXPECT_TRUE(exists((temporary() / "tmp-masks" / name).string())) << name;
  }
  EXPECT_THAT(
      std::count_if(recovered.entries().begin(), recovered.entries().end(),
                    [](const auto& entry) {
                      return entry.problem ==
                             "1 of its 5 masks could not be brought back; its files stay in the temporary storage";
                    }),
      1);
  EXPECT_NE(console.consoleText().find("Mask mask2 is not recovered: its voxels are lost"), std::string::npos);
}

TEST_F(Recovery, ListTellsWhatThereIs) {
  const unsigned seed = 11;
  leaveMasks(1, seed);
  std::mt19937 random(seed);
  const Bits bits = randommask::bits(random);
  const auto entries = RecoveredMasks::examine();
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0].name, "mask0");
  EXPECT_EQ(entries[0].dimensions, randommask::kGrid);
  EXPECT_EQ(entries[0].setVoxels, static_cast<std::uint64_t>(std::count(bits.begin(), bits.end(), true)));
  EXPECT_EQ(entries[0].problem, "");
  std::uint64_t bytes = 0;
  for (const char* extension : {".ldm", ".dat", ".fcp"})
    bytes += boost::filesystem::file_size(fileOf(entries[0], extension));
  EXPECT_EQ(entries[0].bytes, bytes);
  const auto written = boost::filesystem::last_write_time(fileOf(entries[0], ".ldm"));
  EXPECT_NEAR(static_cast<double>(entries[0].lastWriteNanos) / 1e9, static_cast<double>(written), 2);
  EXPECT_EQ(allFiles().size(), 4U) << "the list changed something";
}

TEST_F(Recovery, DamagedMasksAreToldAndNeverLoaded) {
  leaveMasks(4, 3);
  const auto before = RecoveredMasks::examine();
  ASSERT_EQ(before.size(), 4U);
  std::string data = textOf(fileOf(before[0], ".dat"));
  data.back() = static_cast<char>(data.back() ^ 1);
  writeText(fileOf(before[0], ".dat"), data);
  boost::filesystem::remove(fileOf(before[1], ".ldm"));
  boost::filesystem::resize_file(fileOf(before[2], ".fcp"), 10);
  const auto entries = RecoveredMasks::examine();
  ASSERT_EQ(entries.size(), 4U);
  EXPECT_NE(entries[0].problem.find(entries[0].files.stem + ".dat"), std::string::npos) << entries[0].problem;
  EXPECT_EQ(entries[1].problem, "it was never written to its end");
  EXPECT_NE(entries[2].problem.find(entries[2].files.stem + ".fcp"), std::string::npos) << entries[2].problem;
  EXPECT_EQ(entries[3].problem, "");
  RecoveredMasks recovered;
  const auto sets = recovered.load();
  ASSERT_EQ(sets.size(), 1U);
  EXPECT_EQ(sets[0]->getNumberOfMasks(), 1U);
  EXPECT_TRUE(sets[0]->getMask("mask3"));
  EXPECT_EQ(recovered.removeLoaded(), 1);
  EXPECT_EQ(RecoveredMasks::examine().size(), 3U);
  EXPECT_EQ(recovered.removeAll(), 3);
  EXPECT_FALSE(RecoveredMasks::any());
}

TEST_F(Recovery, FolderThatOthersMayWriteToIsRefused) {
  leaveMasks(1, 1);
  ASSERT_EQ(::chmod((temporary() / "tmp-masks").c_str(), 0777), 0);
  EXPECT_NE(refusal([] { RecoveredMasks::examine(); }).find("tmp-masks: others may write"), std::string::npos);
  EXPECT_THROW(RecoveredMasks(), McException);
  EXPECT_FALSE(HxRecovery::instance().hasAny());
}

TEST_F(Recovery, FilesOfTwoSavesAreNeverMixed) {
  leaveMasks(2, 5);
  const auto entries = RecoveredMasks::examine();
  ASSERT_EQ(entries.size(), 2U);
  boost::filesystem::copy_file(fileOf(entries[0], ".dat"), fileOf(entries[1], ".dat"),
                               boost::filesystem::copy_options::overwrite_existing);
  EXPECT_NE(RecoveredMasks::examine()[1].problem, "");
}

TEST_F(Recovery, EqualNamesAndFullSetsAreSorted) {
  leaveMasks(60, 1);
  leaveMasks(60, 2);
  RecoveredMasks recovered;
  const auto sets = recovered.load();
  ASSERT_EQ(sets.size(), 2U);
  EXPECT_EQ(sets[0]->getNumberOfMasks(), 100U);
  EXPECT_EQ(sets[1]->getNumberOfMasks(), 20U);
  EXPECT_EQ(recovered.removeLoaded(), 120);
}

TEST_F(Recovery, MasksOfDifferentGridsGoToDifferentSets) {
  leaveMasks(1, 1);
  // A mask of this process, under the id of one that is gone.
  const auto mask = makeMask({5, 6, 7}, McBox3i(1, 2, 1, 2, 1, 2), "small");
  mask->flush(0);
  mask->writeToFile(temporary() / "tmp-masks" / "20200101T000000.000000-0-1");
  RecoveredMasks recovered;
  const auto sets = recovered.load();
  ASSERT_EQ(sets.size(), 2U);
  EXPECT_EQ(sets[0]->dimensions(), McVec3i(5, 6, 7));
  EXPECT_EQ(count(*sets[0]->getMask("small")), 8U);
  EXPECT_EQ(sets[1]->dimensions(), randommask::kGrid);
}

TEST_F(Recovery, MasksOfDifferentTileSizesGoToDifferentSets) {
  leaveMasks(1, 1);
  for (const int size : {32, 64}) {
    const auto node = hxvoxora::makeRef<SoVolumeMask>();
    node->initializeInMemory({100, 100, 100}, {size, size, size});
    const McHandle<Mask> mask(new Mask("tiles" + std::to_string(size), node.get(), McColor(), nullptr));
    mask->writeToFile(temporary() / "tmp-masks" / ("20200101T000000.000000-" + std::to_string(size) + "-1"));
  }
  RecoveredMasks recovered;
  const auto sets = recovered.load();
  ASSERT_EQ(sets.size(), 3U);
  for (const auto& rois : sets) EXPECT_EQ(rois->getNumberOfMasks(), 1U);
  EXPECT_EQ(recovered.removeLoaded(), 3);
}

TEST_F(Recovery, LeftOverThatCannotBeLoadedDoesNotBlockTheOthers) {
  leaveMasks(3, 1);
  RecoveredMasks recovered;
  ASSERT_EQ(recovered.entries().size(), 3U);
  const auto header = fileOf(recovered.entries()[1], ".ldm");
  writeText(header, "damaged since it was examined");
  const auto sets = recovered.load();
  ASSERT_EQ(sets.size(), 1U);
  EXPECT_EQ(sets[0]->getNumberOfMasks(), 2U);
  EXPECT_NE(recovered.entries()[1].problem, "");
  EXPECT_FALSE(recovered.entries()[1].isLoaded);
  EXPECT_EQ(recovered.removeLoaded(), 2);
  EXPECT_TRUE(exists(header.string()));
}

TEST_F(Recovery, WhatWasLoadedAndKeptIsNotLoadedAgain) {
  HxRecovery& host = HxRecovery::instance();
  leaveMasks(2, 1);
  const QStringList names = host.load();
  EXPECT_EQ(names.size(), 1);
  EXPECT_THROW(RecoveredMasks(), McException) << "while it is open whether the left-overs go";
  host.keepLoaded();
  EXPECT_EQ(host.discardLoaded(), 0);
  EXPECT_TRUE(host.load().isEmpty());
  host.keepLoaded();
  EXPECT_EQ(host.list().size(), 2U);
  EXPECT_EQ(RecoveredMasks().load().size(), 1U) << "others load them";
  leaveMasks(1, 2);
  const QStringList more = host.load();
  EXPECT_EQ(more.size(), 1);
  EXPECT_EQ(host.discardLoaded(), 1);
  EXPECT_EQ(host.discardAll(), 2);
  for (const QString& name : names + more) HxObjectPool::instance().remove(HxObjectPool::instance().find(name));
}

TEST_F(Recovery, UnsavedWorkIsLeftWhenTheProcessHasToEnd) {
  const McHandle<HxRois> rois(new HxRois);
  rois->addRoi(makeMask({40, 30, 20}, McBox3i(1, 5, 1, 5, 1, 5), "edited"));
  rois->addRoi(makeMask({40, 30, 20}, true, "full"));
  HxObjectPool::instance().add(rois, "rois");
  HxRecovery::instance().keepUnsaved();
  HxObjectPool::instance().remove(rois);
  rois->removeAllRois();
  hxroi::details::TemporaryFolder::leave();
  EXPECT_EQ(allFiles().size(), 7U) << "the mark stayed";
  RecoveredMasks recovered;
  const auto sets = recovered.load();
  ASSERT_EQ(sets.size(), 1U);
  EXPECT_EQ(count(*sets[0]->getMask("edited")), 125U);
  EXPECT_EQ(count(*sets[0]->getMask("full")), 40U * 30 * 20);
  EXPECT_EQ(recovered.removeAll(), 3) << "two masks and the record of their set";
}

TEST_F(Recovery, SpillFilesOfTheDeadGoSilently) {
  leaveMasks(1, 1);
  const std::string spill = (temporary() / "tmp-masks" / "20200101T000000.000000-0-1.spill1").string();
  writeText(spill, "");
  EXPECT_EQ(RecoveredMasks::examine().size(), 1U);
  EXPECT_EQ(RecoveredMasks().removeAll(), 1);
  EXPECT_TRUE(allFiles().empty());
}

TEST_F(Recovery, HostIsTold) {
  HxRecovery& host = HxRecovery::instance();
  EXPECT_FALSE(host.hasAny());
  EXPECT_TRUE(host.list().empty());
  EXPECT_TRUE(host.load().isEmpty());
  leaveMasks(2, 9);
  EXPECT_TRUE(host.hasAny());
  const auto list = host.list();
  ASSERT_EQ(list.size(), 2U);
  EXPECT_THAT(
      list[0].toText().toStdString(),
      ::testing::MatchesRegex("mask0: mask, 40 x 33 x 21 voxels, [0-9]+ set, [0-9]+ bytes, [-0-9]+ [:0-9]+ UTC"));
  EXPECT_EQ(host.discardAll(), 2);
  EXPECT_FALSE(host.hasAny());
}

/// Masks come and go in eight processes at once, some of which are killed, while this one looks for left-overs.
TEST_F(Recovery, ProcessesShareTheFolder) {
  std::mt19937 random = seededRandom();
  std::vector<std::unique_ptr<Worker>> workers;
  for (int i = 0; i < 8; ++i) workers.push_back(std::make_unique<Worker>(temporary(), "churn", 200, random()));
  std::set<std::size_t> killed;
  int removed = 0;
  for (bool anyRuns = true; anyRuns;) {
    anyRuns = false;
    for (std::size_t i = 0; i < workers.size(); ++i) {
      if (!workers[i]->isRunning()) continue;
      anyRuns = true;
      if (i % 2 == 0 && workers[i]->prefixes().size() > 20 + random() % 150) {
        workers[i]->kill();
        killed.insert(i);
      }
    }
    removed += RecoveredMasks().removeAll();
  }
  std::set<std::string> prefixes;
  std::size_t made = 0;
  for (std::size_t i = 0; i < workers.size(); ++i) {
    EXPECT_EQ(workers[i]->status(), killed.contains(i) ? -1 : 0) << workers[i]->errors();
    const auto own = workers[i]->prefixes();
    made += own.size();
    prefixes.insert(own.begin(), own.end());
  }
  EXPECT_EQ(killed.size(), 4U);
  EXPECT_EQ(prefixes.size(), made) << "two masks had one name";
  EXPECT_GE(made, 4U * 200 + 4 * 20);
  removed += RecoveredMasks().removeAll();
  EXPECT_GT(removed, 0);
  EXPECT_TRUE(allFiles().empty()) << allFiles().front();
}
