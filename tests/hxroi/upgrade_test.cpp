#include <QApplication>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <functional>

#include "LegacySetTest.h"
#include "hxroi/detail/SetUpgrade.h"
#include "hxroi/details/MaskFiles.h"
#include "hxroi/internal/QxRoiUpdateDialog.h"
#include "hxroi/package.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/voxora/files/PassingFileSystem.h"
#include "tests/support/RecordingProgress.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;

namespace {

class Upgrade : public LegacySetTest {
protected:
  Upgrade()
      : upgradedFile(folder / "set-upgraded.ROIs.qm"),
        upgradedMasks(folder / "set-upgraded.ROIs-masks"),
        legacyMasks(folder / "set.ROIs-masks-legacy"),
        legacyFile(folder / "set.ROIs.qm-legacy") {}

  ~Upgrade() override { prefer(HxPreferences::OlderFiles::Ask); }

  static void prefer(HxPreferences::OlderFiles olderFiles) { preferences().setOlderFiles(olderFiles); }

  /// Opens the set while somebody does this with the dialog.
  McHandle<HxRois> openAnswering(const std::function<void(QxRoiUpdateDialog&)>& answer, int result) {
    // Once the application was asked to end, as by a test before, no dialog opens until it was run again.
    QTimer::singleShot(0, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
    QTimer::singleShot(0, [&] {
      auto* dialog = qobject_cast<QxRoiUpdateDialog*>(QApplication::activeModalWidget());
      ASSERT_TRUE(dialog);
      answer(*dialog);
    });
    return open(file, result);
  }

  static void type(QxRoiUpdateDialog& dialog, const path& name) {
    dialog.findChild<QLineEdit*>("filenameEdit")->setText(QString::fromStdString(name.string()));
  }
  static void click(QxRoiUpdateDialog& dialog, const char* button) { dialog.findChild<QPushButton*>(button)->click(); }

  /// Opening the set fails, says so, and leaves everything on disk as it was.
  std::string refusedText() {
    const auto before = filesBelow(folder);
    console.clear();
    EXPECT_EQ(open(file, 0)->getNumberOfRois(), 0U);
    EXPECT_EQ(filesBelow(folder), before);
    return console.consoleText();
  }

  const path upgradedFile, upgradedMasks, legacyMasks, legacyFile;
};

TEST_F(Upgrade, PresentSetsLoadWithoutDialogAndNewFiles) {
  fillSet();
  saveLegacy({});
  const auto before = filesBelow(folder);
  const auto names = namesIn(folder);
  expectWhole(*open(file));
  EXPECT_EQ(registerName, "set.ROIs.qm");
  EXPECT_EQ(filesBelow(folder), before);
  EXPECT_EQ(namesIn(folder), names);
  EXPECT_THAT(console.consoleEntries, ElementsAre());
}

TEST_F(Upgrade, TestsTakeTheProposedNameWithoutDialog) {
  makeLegacySet();
  const EnvironmentScope test("RUNNING_TEST", "1");
  const auto before = filesBelow(folder);
  const auto loaded = open(file);
  expectWhole(*loaded);
  EXPECT_EQ(registerName, QString::fromStdString(upgradedFile.string()));
  EXPECT_EQ(loaded->getLoadCmd(), QString::fromStdString(upgradedFile.string()));
  EXPECT_FALSE(loaded->isModified());
  EXPECT_THAT(namesIn(folder),
              ElementsAre("set-upgraded.ROIs-masks", "set-upgraded.ROIs.qm", "set.ROIs-masks", "set.ROIs.qm"));
  for (const char* name : {"A", "B", "C", "D"}) {
    EXPECT_TRUE(isLegacy(masks, name)) << name;
    EXPECT_FALSE(isLegacy(upgradedMasks, name)) << name;
  }
  auto after = filesBelow(folder);
  std::erase_if(after, [](const auto& entry) { return entry.first.starts_with("set-upgraded"); });
  EXPECT_EQ(after, before);
  EXPECT_THAT(console.consoleText(), HasSubstr("without asking, since RUNNING_TEST is set"));
  EXPECT_TRUE(console.titledWarnings.empty());
  expectWhole(*open(upgradedFile));
}

TEST_F(Upgrade, TheUpgradedFileHoldsWhatTheOldOneHeld) {
  fillSet();
  rois->parameters.set("Note", "of the set");
  rois->getMask("A")->setProperty("number", 7);
  rois->getGroup("G")->setProperty("level", 3);
  saveLegacy({"A", "B"});
  const EnvironmentScope test("RUNNING_TEST", "yes");
  open(file);
  const auto old = QuarnMesh::read(QString::fromStdString(file.string()));
  const auto upgraded = QuarnMesh::read(QString::fromStdString(upgradedFile.string()));
  std::string directory;
  EXPECT_TRUE(upgraded->parameters.findString("masks-directory", directory));
  EXPECT_EQ(directory, "set-upgraded.ROIs-masks");
  old->parameters.set("masks-directory", directory);
  EXPECT_EQ(upgraded->toText(true, false), old->toText(true, false));
}

TEST_F(Upgrade, MixedSetsComeAlongWhole) {
  fillSet();
  saveLegacy({"B"});
  const EnvironmentScope test("RUNNING_TEST", "1");
  expectWhole(*open(file));
  for (const char* name : {"A", "C", "D"}) {
    EXPECT_EQ(contentOf(upgradedMasks / (std::string(name) + ".dat")), contentOf(masks / (std::string(name) + ".dat")));
  }
  fs::remove_all(masks);
  expectWhole(*open(upgradedFile));
}

TEST_F(Upgrade, MembersOfGroupsCount) {
  rois->addRoi(makeGroup("G", {"B", "C"}));
  fill(*rois->getMask("C"), {1, 2, 3}, {4, 4, 4});
  saveLegacy({"B", "C"});
  const EnvironmentScope test("RUNNING_TEST", "1");
  expectWhole(*open(file));
  EXPECT_FALSE(isLegacy(upgradedMasks, "C"));
}

TEST_F(Upgrade, TheReaderEntryNamesTheSetAfterTheUpgradedFile) {
  makeLegacySet();
  const EnvironmentScope test("RUNNING_TEST", "1");
  const auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
  EXPECT_EQ(hxroi_readRois(mesh.get(), file.c_str()), 1);
  ASSERT_EQ(HxObjectPool::instance().objects().size(), 1U);
  EXPECT_EQ(HxObjectPool::instance().objects()[0]->getName(), "set-upgraded.ROIs.qm");
  HxObjectPool::instance().clear();
}

TEST_F(Upgrade, ReplacingKeepsTheFormerFiles) {
  makeLegacySet();
  const ReplacingScope replacing;
  const auto formerMasks = filesBelow(masks);
  const std::string formerFile = contentOf(file);
  expectWhole(*open(file));
  EXPECT_THAT(console.titledWarnings,
              ElementsAre(Pair("Update Legacy ROI file.",
                               "The format of the ROI file is deprecated. It will be updated automatically.")));
  EXPECT_EQ(registerName, QString::fromStdString(file.string()));
  EXPECT_EQ(filesBelow(legacyMasks), formerMasks);
  EXPECT_EQ(contentOf(legacyFile), formerFile);
  EXPECT_THAT(namesIn(folder),
              ElementsAre("set.ROIs-masks", "set.ROIs-masks-legacy", "set.ROIs.qm", "set.ROIs.qm-legacy"));
  EXPECT_THAT(console.consoleText(), HasSubstr("without asking, since existing sets are to be replaced"));
  EXPECT_THAT(console.consoleText(), HasSubstr("kept as " + legacyFile.string() + " and " + legacyMasks.string()));
  console.clear();
  expectWhole(*open(file));
  EXPECT_TRUE(console.titledWarnings.empty());
}

TEST_F(Upgrade, BackupsNeverOverwriteOthers) {
  makeLegacySet();
  fs::create_directory(legacyMasks);
  std::ofstream((legacyMasks / "keep").string()) << "mine";
  std::ofstream((folder / "set.ROIs.qm-legacy2").string()) << "mine, too";
  const ReplacingScope replacing;
  expectWhole(*open(file));
  EXPECT_EQ(contentOf(legacyMasks / "keep"), "mine");
  EXPECT_EQ(contentOf(folder / "set.ROIs.qm-legacy2"), "mine, too");
  EXPECT_TRUE(isLegacy(folder / "set.ROIs-masks-legacy3", "A"));
  EXPECT_TRUE(fs::exists(folder / "set.ROIs.qm-legacy3"));
}

TEST_F(Upgrade, ReplacingARenamedFileNamesTheMasksAfterIt) {
  makeLegacySet();
  const path renamed = folder / "other.ROIs.qm";
  fs::rename(file, renamed);
  const ReplacingScope replacing;
  expectWhole(*open(renamed));
  EXPECT_THAT(namesIn(folder),
              ElementsAre("other.ROIs-masks", "other.ROIs.qm", "other.ROIs.qm-legacy", "set.ROIs-masks-legacy"));
  expectWhole(*open(renamed));
}

TEST_F(Upgrade, ReplacingRefusesAMasksFolderOfSomebodyElse) {
  makeLegacySet();
  const path renamed = folder / "other.ROIs.qm";
  fs::rename(file, renamed);
  fs::create_directory(folder / "other.ROIs-masks");
  const ReplacingScope replacing;
  const auto before = filesBelow(folder);
  open(renamed, 0);
  EXPECT_EQ(filesBelow(folder), before);
  EXPECT_THAT(console.consoleText(), HasSubstr("other.ROIs-masks exists already and is not replaced"));
}

TEST_F(Upgrade, NamesWithoutTheUsualEndingAreReplaced) {
  makeLegacySet();
  const path other = folder / "set.ROIs.mesh";
  fs::rename(file, other);
  const EnvironmentScope test("RUNNING_TEST", "1");
  expectWhole(*open(other));
  EXPECT_THAT(namesIn(folder),
              ElementsAre("set.ROIs-masks", "set.ROIs-masks-legacy", "set.ROIs.mesh", "set.ROIs.mesh-legacy"));
  EXPECT_EQ(console.titledWarnings.size(), 1U);
}

TEST_F(Upgrade, TestsTakeTheProposedNameWhateverIsPreferred) {
  makeLegacySet();
  prefer(HxPreferences::OlderFiles::Replace);
  const EnvironmentScope test("RUNNING_TEST", "1");
  expectWhole(*open(file));
  EXPECT_TRUE(fs::exists(upgradedFile));
  EXPECT_TRUE(isLegacy(masks, "A"));
}

TEST_F(Upgrade, AnotherNameOfTheFileIsTheFile) {
  makeLegacySet();
  const path other = folder / "other.ROIs.qm";
  fs::create_hard_link(file, other);
  expectWhole(*openAnswering(
      [&](QxRoiUpdateDialog& dialog) {
        type(dialog, other);
        click(dialog, "upgradeButton");
      },
      1));
  EXPECT_EQ(registerName, QString::fromStdString(file.string()));
  EXPECT_TRUE(isLegacy(legacyMasks, "A"));
  expectWhole(*open(file));
}

TEST_F(Upgrade, WhoChoosesWhatCannotBeIsAskedAgain) {
  makeLegacySet();
  std::ofstream(upgradedFile.string()) << "mine";
  const path second = folder / "second.ROIs.qm";
  expectWhole(*openAnswering(
      [&](QxRoiUpdateDialog& dialog) {
        QTimer::singleShot(0, [&] {
          EXPECT_EQ(dialog.filename(), QString::fromStdString(upgradedFile.string()));
          type(dialog, second);
          click(dialog, "upgradeButton");
        });
        click(dialog, "upgradeButton");
      },
      1));
  ASSERT_EQ(console.warnings.size(), 1);
  EXPECT_THAT(console.warnings[0].toStdString(), HasSubstr(upgradedFile.string() + " exists already"));
  EXPECT_EQ(contentOf(upgradedFile), "mine");
  expectWhole(*open(second));
}

TEST_F(Upgrade, NotAmongTheOwnMasks) {
  makeLegacySet();
  auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
  const hxroi::SetUpgrade upgrade(hxvoxora::FileSystem::posix(), file, masks, {{masks / "A", true}});
  EXPECT_EQ(
      refusalOf([&] { upgrade.requirePossible(masks / "new.ROIs.qm"); }),
      file.string() + ": is not upgraded to " + (masks / "new.ROIs.qm").string() + ": that is among its own masks");
}

TEST_F(Upgrade, TheHostLoadsTheUpgradedFileByWhateverName) {
  makeLegacySet();
  const path output = folder / "new.ROIs";
  openAnswering(
      [&](QxRoiUpdateDialog& dialog) {
        type(dialog, output);
        click(dialog, "upgradeButton");
      },
      1);
  const std::string content = contentOf(output);
  EXPECT_TRUE(content.starts_with("# QuarnMesh 1 text "));
  expectWhole(*open(output));
}

TEST_F(Upgrade, WhoAcceptsTheDialogGetsTheProposedFile) {
  makeLegacySet();
  QString proposed;
  expectWhole(*openAnswering(
      [&](QxRoiUpdateDialog& dialog) {
        proposed = dialog.filename();
        click(dialog, "upgradeButton");
      },
      1));
  EXPECT_EQ(proposed, QString::fromStdString(upgradedFile.string()));
  EXPECT_TRUE(fs::exists(upgradedFile));
  expectWhole(*open(upgradedFile));
}

TEST_F(Upgrade, TheOutputMayBeAnywhere) {
  makeLegacySet();
  fs::create_directory(folder / "else");
  const path output = folder / "else" / "new.ROIs";
  const auto loaded = openAnswering(
      [&](QxRoiUpdateDialog& dialog) {
        type(dialog, output);
        click(dialog, "upgradeButton");
      },
      1);
  expectWhole(*loaded);
  EXPECT_EQ(loaded->getLoadCmd(), QString::fromStdString(output.string()));
  EXPECT_THAT(namesIn(folder / "else"), ElementsAre("new-masks", "new.ROIs"));
  fs::remove_all(masks);
  expectWhole(*open(output));
}

TEST_F(Upgrade, WhoChoosesTheFileItselfReplacesIt) {
  makeLegacySet();
  expectWhole(*openAnswering(
      [&](QxRoiUpdateDialog& dialog) {
        type(dialog, folder / "temporary" / ".." / "set.ROIs.qm");
        click(dialog, "upgradeButton");
      },
      1));
  EXPECT_TRUE(isLegacy(legacyMasks, "A"));
  EXPECT_TRUE(console.titledWarnings.empty());
}

TEST_F(Upgrade, WhoAbortsLoadsNothing) {
  makeLegacySet();
  const auto before = filesBelow(folder);
  const auto loaded = openAnswering([](QxRoiUpdateDialog& dialog) { click(dialog, "abortButton"); }, 0);
  EXPECT_EQ(loaded->getNumberOfRois(), 0U);
  EXPECT_TRUE(loaded->getLoadCmd().isEmpty());
  EXPECT_EQ(filesBelow(folder), before);
  EXPECT_EQ(registerName, "set.ROIs.qm");
  EXPECT_THAT(console.consoleEntries, ElementsAre(HasSubstr("was not upgraded")));
}

TEST_F(Upgrade, WithoutAnybodyToAskTheTextTellsWhatToDo) {
  makeLegacySet();
  HxApplication::setUnattended(true);
  const std::string text = refusedText();
  HxApplication::setUnattended(false);
  EXPECT_THAT(text, HasSubstr((masks / "A.ldm").string()));
  EXPECT_THAT(text, HasSubstr((masks / "C.ldm").string()));
  EXPECT_THAT(text, HasSubstr("\"Upgrade Older Files\" to beside (the upgraded set becomes " + upgradedFile.string()));
}

TEST_F(Upgrade, PreferencesAnswerForTheUser) {
  makeLegacySet();
  HxApplication::setUnattended(true);
  prefer(HxPreferences::OlderFiles::Beside);
  expectWhole(*open(file));
  EXPECT_TRUE(fs::exists(upgradedFile));
  prefer(HxPreferences::OlderFiles::Replace);
  expectWhole(*open(file));
  EXPECT_EQ(console.titledWarnings.size(), 1U);
  EXPECT_TRUE(isLegacy(legacyMasks, "A"));
  EXPECT_FALSE(isLegacy(masks, "A"));
  HxApplication::setUnattended(false);
  EXPECT_THAT(console.consoleText(), HasSubstr("since the preferences say so"));
}

TEST_F(Upgrade, ExistingFilesAreNotOverwritten) {
  makeLegacySet();
  const EnvironmentScope test("RUNNING_TEST", "1");
  std::ofstream(upgradedFile.string()) << "mine";
  EXPECT_THAT(refusedText(), HasSubstr(upgradedFile.string() + " exists already and is not replaced"));
  fs::remove(upgradedFile);
  fs::create_directory(upgradedMasks);
  std::ofstream((upgradedMasks / "mine").string()) << "mine";
  EXPECT_THAT(refusedText(), HasSubstr(upgradedMasks.string() + " exists already and is not replaced"));
}

TEST_F(Upgrade, DamagedMasksAreNamedAndNothingIsLeft) {
  makeLegacySet();
  const EnvironmentScope test("RUNNING_TEST", "1");
  std::string data = contentOf(masks / "B.dat");
  data[20] = static_cast<char>(data[20] ^ 1);
  std::ofstream((masks / "B.dat").string(), std::ios::binary) << data;
  EXPECT_THAT(refusedText(), HasSubstr((masks / "B.dat").string() + ": tile 0: "));
  const ReplacingScope replacing;
  EXPECT_THAT(refusedText(), HasSubstr((masks / "B.dat").string() + ": tile 0: "));
  fs::remove(masks / "A.fcp");
  EXPECT_THAT(refusedText(), HasSubstr((masks / "A.fcp").string()));
}

TEST_F(Upgrade, FoldersThatCannotBeWrittenAreRefused) {
  if (geteuid() == 0) GTEST_SKIP() << "the superuser may write everywhere";
  makeLegacySet();
  fs::permissions(folder, fs::owner_read | fs::owner_exe);
  const EnvironmentScope test("RUNNING_TEST", "1");
  const std::string text = refusedText();
  fs::permissions(folder, fs::owner_all);
  EXPECT_THAT(text, HasSubstr("not a folder in which files can be made"));
}

TEST_F(Upgrade, TooLittleRoomIsToldBeforehand) {
  struct FullDisk : hxvoxora::PassingFileSystem {
    using PassingFileSystem::PassingFileSystem;
    std::uint64_t freeSpace(const std::string&) override { return 1000; }
  };
  makeLegacySet();
  FullDisk disk(hxvoxora::FileSystem::posix());
  const hxvoxora::FileSystemOverride current(disk);
  const EnvironmentScope test("RUNNING_TEST", "1");
  EXPECT_THAT(refusedText(), testing::ContainsRegex("upgrading the set needs [0-9]+ bytes, and only 1000 are free in " +
                                                    folder.string()));
}

TEST_F(Upgrade, InterruptingLeavesEverythingAsItWas) {
  makeLegacySet();
  const EnvironmentScope test("RUNNING_TEST", "1");
  for (int after = 0; after < 4; ++after) {
    RecordingProgress progress;
    progress.interruptAfter = after;
    const ProgressScope scope(progress);
    EXPECT_THAT(refusedText(), HasSubstr(file.string() + ": upgrading was interrupted; nothing has changed"));
    EXPECT_EQ(progress.calls.front(), "start Upgrading masks");
    EXPECT_EQ(progress.calls.back(), "stop");
  }
  RecordingProgress progress;
  const ProgressScope scope(progress);
  expectWhole(*open(file));
  EXPECT_TRUE(std::is_sorted(progress.values.begin(), progress.values.end()));
  EXPECT_EQ(progress.values.back(), 1.0F);
}

TEST_F(Upgrade, TwoProgramsDoNotMeet) {
  makeLegacySet();
  const EnvironmentScope test("RUNNING_TEST", "1");
  const path work = folder / "set-upgraded.ROIs.qm~upgrading";
  fs::create_directory(work);
  std::ofstream((work / ".lock").string());
  const auto lock = hxvoxora::FileSystem::posix().tryLock((work / ".lock").string());
  EXPECT_THAT(refusedText(), HasSubstr("is being upgraded by another program"));
}

TEST_F(Upgrade, RemainsOfEarlierUpgradesGo) {
  makeLegacySet();
  const EnvironmentScope test("RUNNING_TEST", "1");
  const path work = folder / "set-upgraded.ROIs.qm~upgrading";
  fs::create_directories(work / "set-upgraded.ROIs-masks" / "deeper");
  std::ofstream((work / "set-upgraded.ROIs-masks" / "A.ldm").string()) << "half";
  std::ofstream((work / ".lock").string());
  fs::create_symlink(file, work / "set-upgraded.ROIs-masks" / "link");
  expectWhole(*open(file));
  EXPECT_FALSE(fs::exists(work));
  EXPECT_TRUE(fs::exists(file));
}

TEST_F(Upgrade, NothingOfOthersGoes) {
  makeLegacySet();
  const EnvironmentScope test("RUNNING_TEST", "1");
  const path work = folder / "set-upgraded.ROIs.qm~upgrading", mine = folder / "mine";
  fs::create_directory(mine);
  std::ofstream((mine / "canary").string()) << "mine";
  fs::create_directory_symlink(mine, work);
  EXPECT_THAT(refusedText(), HasSubstr(work.string() + ": is in the way of an upgrade"));
  fs::remove(work);
  fs::rename(mine, work);
  EXPECT_THAT(refusedText(), HasSubstr(work.string() + ": is in the way of an upgrade"));
  fs::remove_all(work);
  std::ofstream(work.string()) << "mine";
  EXPECT_THAT(refusedText(), HasSubstr(work.string() + ": is in the way of an upgrade"));
}

TEST_F(Upgrade, FoldersThatOnlyLookLikeRemainsStayWhenThePresentSetIsLoaded) {
  fillSet();
  saveLegacy({});
  for (const char* ending : {"~upgrading", "~replacing"}) {
    const path work(file.string() + ending);
    fs::create_directory(work);
    std::ofstream((work / "canary").string()) << "mine";
  }
  const auto before = filesBelow(folder);
  expectWhole(*open(file));
  EXPECT_EQ(filesBelow(folder), before);
}

TEST_F(Upgrade, FilesNamedTwiceAreConvertedOnce) {
  makeLegacySet();
  auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
  mesh->parameters.getBundle("__rois")->getBundle("D")->set("__filename", "A");
  mesh->write(file.c_str(), QuarnMesh::TEXT, nullptr, true, false);
  expected["D"] = expected["A"];
  const EnvironmentScope test("RUNNING_TEST", "1");
  expectWhole(*open(file));
  EXPECT_FALSE(fs::exists(upgradedMasks / "D.ldm"));
}

TEST_F(Upgrade, PrivateSetsStayPrivate) {
  makeLegacySet();
  fs::permissions(file, fs::owner_read | fs::owner_write);
  fs::permissions(masks, fs::owner_all);
  const EnvironmentScope test("RUNNING_TEST", "1");
  open(file);
  EXPECT_EQ(fs::status(upgradedFile).permissions(), fs::owner_read | fs::owner_write);
  EXPECT_EQ(fs::status(upgradedMasks).permissions(), fs::owner_all);
}

TEST_F(Upgrade, WhatIsKeptOfPrivateSetsStaysPrivate) {
  makeLegacySet();
  const auto ownersOnly = fs::owner_read | fs::owner_write;
  fs::permissions(file, ownersOnly);
  for (const char* suffix : {".ldm", ".fcp", ".dat"}) fs::permissions(masks / (std::string("A") + suffix), ownersOnly);
  const ReplacingScope replacing;
  expectWhole(*open(file));
  EXPECT_EQ(fs::status(file).permissions(), ownersOnly);
  EXPECT_EQ(fs::status(legacyFile).permissions(), ownersOnly);
  EXPECT_EQ(fs::status(masks / "A.dat").permissions(), ownersOnly);
  EXPECT_NE(fs::status(masks / "B.dat").permissions(), ownersOnly);
}

/// Calls `during` once, when the first folder is made in the folder of an upgrade.
class MeanwhileFileSystem : public hxvoxora::PassingFileSystem {
public:
  explicit MeanwhileFileSystem(std::function<void()> during)
      : PassingFileSystem(hxvoxora::FileSystem::posix()), during_(std::move(during)) {}
  void createDirectory(const std::string& path, Access access) override {
    PassingFileSystem::createDirectory(path, access);
    if (path.ends_with("-masks") && during_) std::exchange(during_, nullptr)();
  }

private:
  std::function<void()> during_;
};

TEST_F(Upgrade, WhatIsSavedMeanwhileIsNotLost) {
  for (const bool replaces : {false, true}) {
    SCOPED_TRACE(replaces);
    makeLegacySet();
    const EnvironmentScope test("RUNNING_TEST", "1");
    const auto replacing = replaces ? std::make_unique<ReplacingScope>() : nullptr;
    std::map<std::string, std::string> saved;
    MeanwhileFileSystem files([&] {
      // Not the set here: it would not be saved over files of the older layout, which it has not seen.
      const McHandle<HxRois> other(new HxRois);
      other->setLabel("other");
      other->addRoi(makeMask("A"));
      EXPECT_EQ(other->writeQuarnMesh(file.c_str()), 1) << console.consoleText();
      saved = filesBelow(folder);
      std::erase_if(saved, [](const auto& entry) { return entry.first.find('~') != std::string::npos; });
    });
    console.clear();
    {
      const hxvoxora::FileSystemOverride current(files);
      open(file, 0);
    }
    EXPECT_THAT(console.consoleText(), HasSubstr(file.string() + ": was changed while it was upgraded"));
    EXPECT_EQ(filesBelow(folder), saved);
    rois = new HxRois;
    rois->setLabel("atlas");
    expected.clear();
  }
}

TEST_F(Upgrade, AFolderThatCannotBeTakenIsNotLeft) {
  struct NoLocks : hxvoxora::PassingFileSystem {
    using PassingFileSystem::PassingFileSystem;
    std::unique_ptr<hxvoxora::FileLock> tryLock(const std::string& path) override {
      throw McException("lock " + path + ": No locks available");
    }
  };
  makeLegacySet();
  const EnvironmentScope test("RUNNING_TEST", "1");
  NoLocks disk(hxvoxora::FileSystem::posix());
  const hxvoxora::FileSystemOverride current(disk);
  const auto names = namesIn(folder);
  EXPECT_THAT(refusedText(), HasSubstr("No locks available"));
  EXPECT_EQ(namesIn(folder), names);
}

TEST_F(Upgrade, SetsWithVeryLongNamesLoad) {
  fillSet();
  saveLegacy({});
  const path longFile = folder / (std::string(240, 'x') + ".ROIs.qm");
  fs::rename(file, longFile);
  expectWhole(*open(longFile));
  makeLegacy(*rois->getMask("A"), masks / "A");
  const ReplacingScope replacing;
  console.clear();
  open(longFile, 0);
  EXPECT_THAT(console.consoleText(), HasSubstr("the name is too long for an upgrade"));
}

/// What a replacement leaves that ends when the new masks are in place.
class CutReplacement : public Upgrade {
protected:
  CutReplacement() : waiting(file.string() + "~replacing") {
    makeLegacySet();
    const ReplacingScope replacing;
    expectWhole(*open(file));
    fs::create_directory(waiting);
    std::ofstream((waiting / ".lock").string());
    fs::rename(file, waiting / "set.ROIs.qm");
    fs::copy_file(legacyFile, waiting / ".former");
    fs::rename(legacyFile, file);
    fs::copy_file(file, waiting / "set.ROIs.qm-legacy");
    console.clear();
  }

  const path waiting;
};

TEST_F(CutReplacement, IsFinishedByTheNextToOpenTheSet) {
  expectWhole(*open(file));
  EXPECT_THAT(console.consoleText(), HasSubstr("an upgrade that was interrupted is finished"));
  EXPECT_THAT(console.consoleText(), HasSubstr("kept as " + legacyFile.string() + " and " + legacyMasks.string()));
  EXPECT_THAT(namesIn(folder),
              ElementsAre("set.ROIs-masks", "set.ROIs-masks-legacy", "set.ROIs.qm", "set.ROIs.qm-legacy"));
}

TEST_F(CutReplacement, IsFinishedByACheck) {
  std::vector<std::string> wrong;
  const auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
  hxroi_verifyRois(mesh.get(), file.c_str(), [&](const QString& finding, bool isSound) {
    if (!isSound) wrong.push_back(finding.toStdString());
  });
  EXPECT_THAT(wrong, ElementsAre());
  EXPECT_FALSE(fs::exists(waiting));
}

TEST_F(CutReplacement, DoesNotReplaceANewerSet) {
  fill(*rois->getMask("A"), {6, 6, 6}, {1, 1, 1});
  rois->removeRoi("D");
  fs::remove(file);
  ASSERT_EQ(save(), 1);
  const std::string saved = contentOf(file);
  console.clear();
  EXPECT_EQ(open(file)->getNumberOfMasks(), 3U);
  EXPECT_EQ(contentOf(file), saved);
  EXPECT_TRUE(fs::exists(waiting / "set.ROIs.qm"));
  EXPECT_THAT(console.consoleText(),
              HasSubstr("the file was changed since; the upgraded set stays in " + waiting.string()));
}

TEST_F(Upgrade, AnUpgradeOfAnotherSetIsNotFinished) {
  makeLegacySet();
  const EnvironmentScope test("RUNNING_TEST", "1");
  expectWhole(*open(file));
  const path work(upgradedFile.string() + "~upgrading");
  fs::create_directory(work);
  std::ofstream((work / ".lock").string());
  std::ofstream((work / ".source").string()) << "of another set\n";
  fs::rename(upgradedFile, work / upgradedFile.filename());
  EXPECT_THAT(refusedText(), HasSubstr(upgradedMasks.string() + " exists already and is not replaced"));
  EXPECT_TRUE(fs::exists(work / upgradedFile.filename()));
}

TEST_F(Upgrade, BoxesComeAlong) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const int tile = preferences().getTileSize();
  BorderedVolume volume({13, 11, 7}, {tile, tile, tile}, 2);
  volume.voxels = voxelsOf(*rois->getMask("A"));
  volume.elements = {{"BoundingBox", "0 4 0 4 0 4"}};
  volume.write(hxvoxora::FileSystem::posix(), (masks / "A.ldm").string());
  const EnvironmentScope test("RUNNING_TEST", "1");
  const auto loaded = open(file);
  EXPECT_EQ(loaded->getMask("A")->cachedBoundingBox(), McBox3i(0, 4, 0, 4, 0, 4));
}

TEST_F(Upgrade, BundlesTellTheFilesOfTheirMasks) {
  HxParamBundle mask("M");
  EXPECT_EQ(refusalOf([&] { rois->extractLdmFilenameFromBundle("/masks", &mask); }),
            "failed while retreiving mask M filename.");
  mask.set("__filename", "file");
  EXPECT_EQ(rois->extractLdmFilenameFromBundle("/masks", &mask), path("/masks/file"));
  mask.set("__filename", "../file");
  EXPECT_THAT(refusalOf([&] { rois->extractLdmFilenameFromBundle("/masks", &mask); }), HasSubstr("\"../file\""));
  HxParamBundle group("G");
  for (const char* name : {"Z", "none", "A"}) {
    if (*name == 'n') {
      group.getBundle(name)->set("x", 1);
    } else {
      group.getBundle(name)->set("__filename", name);
    }
  }
  EXPECT_THAT(rois->extractFilenamesFromGroup("/masks", &group), ElementsAre(path("/masks/Z"), path("/masks/A")));
}

TEST_F(Upgrade, HostileNamesAreRefusedBeforeAnythingIsLookedAt) {
  makeLegacySet();
  auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
  mesh->parameters.getBundle("__rois")->getBundle("A")->set("__filename", "../../canary");
  QString name;
  const ReplacingScope replacing;
  EXPECT_THAT(refusalOf([&] { rois->upgradeRois(mesh.get(), file.c_str(), name); }), HasSubstr("../../canary"));
  mesh->parameters.set("masks-directory", "..");
  EXPECT_THAT(refusalOf([&] { rois->upgradeRois(mesh.get(), file.c_str(), name); }), HasSubstr("masks-directory"));
}

TEST_F(Upgrade, TheStepAloneTellsWhetherToGoOn) {
  fillSet();
  saveLegacy({});
  auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
  QString name = "given";
  EXPECT_TRUE(rois->upgradeRois(mesh.get(), file.c_str(), name));
  EXPECT_EQ(name, "given");
  makeLegacy(*rois->getMask("D"), masks / "D");
  QTimer::singleShot(0, [] { qobject_cast<QDialog*>(QApplication::activeModalWidget())->reject(); });
  EXPECT_FALSE(rois->upgradeRois(mesh.get(), file.c_str(), name));
  EXPECT_EQ(name, "given");
  const EnvironmentScope test("RUNNING_TEST", "1");
  EXPECT_TRUE(rois->upgradeRois(mesh.get(), file.c_str(), name));
  EXPECT_EQ(name, QString::fromStdString(upgradedFile.string()));
  std::string directory;
  EXPECT_TRUE(mesh->parameters.findString("masks-directory", directory));
  EXPECT_EQ(directory, "set-upgraded.ROIs-masks");
}

TEST_F(Upgrade, ASetWithoutRoisLoads) {
  ASSERT_EQ(save(), 1);
  EXPECT_EQ(open(file)->getNumberOfRois(), 0U);
}

}  // namespace
