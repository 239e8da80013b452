#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>

#include "SetFileTest.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "tests/support/RecordingProgress.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

void replaceIn(const fs::path& file, const std::string& what, const std::string& by) {
  std::string text = contentOf(file);
  const auto at = text.find(what);
  ASSERT_NE(at, std::string::npos) << what << " is not in " << file;
  text.replace(at, what.size(), by);
  std::ofstream(file.string(), std::ios::binary) << text;
}

/// Writing files longer than this many bytes fails while it lives.
class LongestFile {
public:
  explicit LongestFile(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &former_);
    formerHandler_ = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, former_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~LongestFile() {
    setrlimit(RLIMIT_FSIZE, &former_);
    std::signal(SIGXFSZ, formerHandler_);
  }

private:
  rlimit former_{};
  void (*formerHandler_)(int);
};

class SetFileRefusing : public SetFileTest {};

// --- Writing --------------------------------------------------------------------------------------------------------

TEST_F(SetFileRefusing, NothingIsWrittenWithoutAFolder) {
  fillSet();
  const fs::path nowhere = folder / "missing" / "set.ROIs.qm";
  EXPECT_EQ(rois->writeQuarnMesh(nowhere.c_str()), 0);
  EXPECT_THAT(console.ioErrors, ElementsAre(QString::fromStdString(nowhere.string())));
  EXPECT_THAT(console.consoleText(), HasSubstr((folder / "missing").string()));
  EXPECT_FALSE(fs::exists(folder / "missing"));
  EXPECT_TRUE(rois->getLoadCmd().isEmpty());
}

TEST_F(SetFileRefusing, TheTargetMustBeARegularFile) {
  fillSet();
  const fs::path elsewhere = folder / "elsewhere.txt";
  std::ofstream(elsewhere.string()) << "keep me";
  fs::create_symlink(elsewhere, file);
  EXPECT_EQ(save(), 0);
  EXPECT_EQ(contentOf(elsewhere), "keep me");
  EXPECT_FALSE(fs::exists(masks));
  EXPECT_THAT(console.consoleText(), HasSubstr(file.string() + ": exists and is not a regular file"));

  fs::remove(file);
  fs::create_directory(file);
  EXPECT_EQ(save(), 0);
  EXPECT_FALSE(fs::exists(masks));
}

TEST_F(SetFileRefusing, TheMasksFolderMustBeAFolder) {
  fillSet();
  fs::create_directory(folder / "elsewhere");
  fs::create_directory_symlink(folder / "elsewhere", masks);
  EXPECT_EQ(save(), 0);
  EXPECT_TRUE(fs::is_empty(folder / "elsewhere"));
  EXPECT_FALSE(fs::exists(file));
  fs::remove(masks);
  std::ofstream(masks.string()) << "a file";
  EXPECT_EQ(save(), 0);
  EXPECT_EQ(contentOf(masks), "a file");
}

TEST_F(SetFileRefusing, NotAmongTheOwnMasks) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const fs::path inside = masks / "again.ROIs.qm";
  EXPECT_EQ(rois->writeQuarnMesh(inside.c_str()), 0);
  EXPECT_FALSE(fs::exists(inside));
}

TEST_F(SetFileRefusing, NotAmongTheMasksOfALoadedSet) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const fs::path inside = masks / "again.ROIs.qm";
  const auto loaded = load(file);
  EXPECT_EQ(loaded->writeQuarnMesh(inside.c_str()), 0);
  EXPECT_FALSE(fs::exists(inside));
  EXPECT_THAT(console.consoleText(), HasSubstr(inside.string() + ": lies in the folder of the masks of"));

  // The folder is known too when no parameter names it.
  loaded->parameters.remove("masks-directory");
  EXPECT_EQ(loaded->writeQuarnMesh(inside.c_str()), 0);
  EXPECT_FALSE(fs::exists(inside));
}

TEST_F(SetFileRefusing, AFolderThatTakesNoFiles) {
  fillSet();
  EXPECT_EQ(rois->writeQuarnMesh("/proc/set.ROIs.qm"), 0);
  EXPECT_THAT(console.ioErrors, ElementsAre(QString("/proc/set.ROIs.qm")));
  ASSERT_FALSE(console.consoleEntries.empty());
  EXPECT_THAT(console.consoleEntries.back(), HasSubstr("/proc"));
}

TEST_F(SetFileRefusing, FilesOfAnotherKindAreNotReplaced) {
  auto& types = HxFileTypes::instance();
  fillSet();
  ASSERT_EQ(save(), 1);
  const McHandle<HxUniformScalarField3> field(new HxUniformScalarField3(McDim3l(2, 2, 2), McPrimType::Uint8));
  const std::string before = contentOf(file);
  EXPECT_EQ(refusalOf([&] { types.save(field, "Field", QString::fromStdString(file.string())); }),
            file.string() + ": is there and holds something of another kind; remove it first, or take another name");
  EXPECT_EQ(contentOf(file), before);
}

TEST_F(SetFileRefusing, AFailedSetFileTakesItsMasksAlong) {
  addMask("A");
  rois->parameters.set("Note", std::string(1 << 20, 'x'));
  RecordingProgress progress;
  {
    const ProgressScope scope(progress);
    const LongestFile limit(200000);
    EXPECT_EQ(save(), 0);
  }
  EXPECT_THAT(progress.calls, ElementsAre("start Saving masks", "stop"));
  EXPECT_THAT(console.consoleText(), HasSubstr("Saving mask A"));
  EXPECT_THAT(console.consoleText(), Not(HasSubstr("Error while saving mask")));
  EXPECT_THAT(console.ioErrors, ElementsAre(QString::fromStdString(file.string())));
  EXPECT_FALSE(fs::exists(file));
  EXPECT_FALSE(fs::exists(masks));
  EXPECT_TRUE(rois->getLoadCmd().isEmpty());
  EXPECT_EQ(rois->parameters.findBase("masks-directory"), nullptr);
  EXPECT_EQ(save(), 1);
}

// --- Reading --------------------------------------------------------------------------------------------------------

TEST_F(SetFileRefusing, LoadingStopsAtTheFirstRoiThatFails) {
  fillSet();
  ASSERT_EQ(save(), 1);
  fs::remove(masks / "B.ldm");
  console.clear();
  const auto loaded = load(file, 0);
  EXPECT_THAT(names(*loaded), ElementsAre("A"));
  ASSERT_EQ(console.consoleEntries.size(), 1U);
  EXPECT_THAT(console.consoleEntries[0], HasSubstr("B.ldm"));
  EXPECT_EQ(loaded->parameters.findBase("__rois"), nullptr);
}

TEST_F(SetFileRefusing, AllMasksWhoseFilesFailAreListed) {
  fillSet();
  ASSERT_EQ(save(), 1);
  for (const char* name : {"B", "C", "D"}) fs::remove(masks / (std::string(name) + ".ldm"));
  console.clear();
  load(file, 0);
  ASSERT_EQ(console.consoleEntries.size(), 1U);
  const QStringList lines = QString::fromStdString(console.consoleEntries[0]).split('\n');
  ASSERT_EQ(lines.size(), 3) << console.consoleEntries[0];
  EXPECT_THAT(lines[0].toStdString(), HasSubstr((masks / "B.ldm").string()));
  EXPECT_THAT(lines[1].toStdString(), HasSubstr((masks / "C.ldm").string()));
  EXPECT_THAT(lines[2].toStdString(), HasSubstr((masks / "D.ldm").string()));
}

TEST_F(SetFileRefusing, AMissingMasksFolderIsToldOnce) {
  fillSet();
  ASSERT_EQ(save(), 1);
  fs::rename(masks, folder / "elsewhere");
  console.clear();
  load(file, 0);
  EXPECT_THAT(console.consoleEntries,
              ElementsAre(masks.string() + ": the folder with the masks of " + file.string() +
                          " is missing; a set file and its folder go together and keep their names"));
}

TEST_F(SetFileRefusing, AMaskWithoutAFileIsRefused) {
  HxParamBundle bundle("Lonely");
  EXPECT_EQ(refusalOf([&] { rois->loadMask(masks, &bundle); }), "failed while retreiving mask Lonely filename.");
}

TEST_F(SetFileRefusing, OnlyPlainNamesAreFollowed) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const fs::path canary = folder / "canary";
  rois->getMask("A")->writeToFile(canary);
  for (const std::string name : {"../canary", "..", ".", "", "a/b", "/etc/passwd", "a\\b"}) {
    auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
    mesh->parameters.getBundle("__rois")->getBundle("A")->set("__filename", name);
    console.clear();
    const McHandle<HxRois> loaded(new HxRois);
    QString registerName;
    EXPECT_EQ(loaded->readQuarnMesh(mesh.get(), file.c_str(), registerName), 0) << name;
    EXPECT_EQ(loaded->getNumberOfRois(), 0U) << name;
    EXPECT_THAT(console.consoleText(), HasSubstr(file.string() + ": ROI \"A\": __filename \"" + name + "\""));
  }
}

TEST_F(SetFileRefusing, TheMasksFolderIsAPlainNameAndNoLink) {
  fillSet();
  ASSERT_EQ(save(), 1);
  fs::create_directory_symlink(masks, folder / "linked");
  for (const std::string& name : {std::string("../x"), std::string("/tmp"), std::string(), std::string(5000, 'x')}) {
    auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
    mesh->parameters.set("masks-directory", name);
    console.clear();
    const McHandle<HxRois> loaded(new HxRois);
    QString registerName;
    EXPECT_EQ(loaded->readQuarnMesh(mesh.get(), file.c_str(), registerName), 0) << name;
    EXPECT_THAT(console.consoleText(), HasSubstr(file.string() + ": masks-directory \""));
    EXPECT_LT(console.consoleText().size(), 1000U);
  }
  auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
  mesh->parameters.set("masks-directory", "linked");
  const McHandle<HxRois> loaded(new HxRois);
  QString registerName;
  EXPECT_EQ(loaded->readQuarnMesh(mesh.get(), file.c_str(), registerName), 0);
}

TEST_F(SetFileRefusing, MaskFilesThatAreLinksAreRefused) {
  fillSet();
  ASSERT_EQ(save(), 1);
  fs::rename(masks / "D.ldm", folder / "D.ldm");
  fs::create_symlink(folder / "D.ldm", masks / "D.ldm");
  console.clear();
  const auto loaded = load(file, 0);
  EXPECT_THAT(console.consoleText(),
              HasSubstr("__filename \"D\": " + (masks / "D.ldm").string() + " is not a regular file"));
}

TEST_F(SetFileRefusing, AllProblemsOfTheFormAreListed) {
  fillSet();
  ASSERT_EQ(save(), 1);
  auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
  HxParamBundle& all = *mesh->parameters.getBundle("__rois");
  all.getBundle("A")->set("__filename", 5);
  all.getBundle("D")->set("__color", "red");
  all.getBundle("G")->getBundle("B")->set("Id", rois->getMask("D")->id());
  all.set("stray", 1);
  mesh->parameters.set("masks-directory", "../elsewhere");
  console.clear();
  const McHandle<HxRois> loaded(new HxRois);
  QString registerName;
  EXPECT_EQ(loaded->readQuarnMesh(mesh.get(), file.c_str(), registerName), 0);
  EXPECT_EQ(loaded->getNumberOfRois(), 0U);
  const std::string text = console.consoleText();
  EXPECT_THAT(text, HasSubstr("ROI \"A\": __filename is not a text"));
  EXPECT_THAT(text, HasSubstr("ROI \"D\": __color is not three reals"));
  EXPECT_THAT(text, HasSubstr("ROI \"D\": Id \"" + rois->getMask("D")->id() + "\" belongs to another ROI of the set"));
  EXPECT_THAT(text, HasSubstr("ROI \"stray\": is a parameter where a bundle belongs"));
  EXPECT_THAT(text, HasSubstr("masks-directory \"../elsewhere\" is not the name of a folder beside the file"));
}

TEST_F(SetFileRefusing, FilesThatMustNotBeFollowedAreListedWithTheOtherProblems) {
  fillSet();
  ASSERT_EQ(save(), 1);
  fs::rename(masks / "B.dat", folder / "B.dat");
  fs::create_symlink(folder / "B.dat", masks / "B.dat");
  fs::remove(masks / "D.fcp");
  ASSERT_EQ(mkfifo((masks / "D.fcp").c_str(), 0600), 0);
  auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
  mesh->parameters.getBundle("__rois")->getBundle("A")->set("__color", "red");
  console.clear();
  const McHandle<HxRois> loaded(new HxRois);
  QString registerName;
  EXPECT_EQ(loaded->readQuarnMesh(mesh.get(), file.c_str(), registerName), 0);
  EXPECT_EQ(loaded->getNumberOfRois(), 0U);
  EXPECT_TRUE(loaded->getLoadCmd().isEmpty());
  ASSERT_EQ(console.consoleEntries.size(), 1U);
  const std::string text = console.consoleText();
  EXPECT_THAT(text, HasSubstr("ROI \"A\": __color is not three reals"));
  EXPECT_THAT(text, HasSubstr("ROI \"B\": __filename \"B\": " + (masks / "B.dat").string() + " is not a regular file"));
  EXPECT_THAT(text, HasSubstr("ROI \"D\": __filename \"D\": " + (masks / "D.fcp").string() + " is not a regular file"));
}

TEST_F(SetFileRefusing, RulesOfTheSetHoldWhileLoading) {
  addMask("A");
  ASSERT_EQ(save(), 1);
  const auto other = makeMask("other", {2, 2, 2});
  other->writeToFile(masks / "other");
  auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
  mesh->parameters.getBundle("__rois")->getBundle("B")->set("__filename", "other");
  console.clear();
  const McHandle<HxRois> loaded(new HxRois);
  QString registerName;
  EXPECT_EQ(loaded->readQuarnMesh(mesh.get(), file.c_str(), registerName), 0);
  EXPECT_THAT(console.consoleEntries,
              ElementsAre(file.string() + ": ROI \"B\": Mask B dimensions (2, 2, 2) does not match other rois " +
                          "dimensions (13, 11, 7)."));
}

TEST_F(SetFileRefusing, MaskFilesWithBordersAreRefusedByName) {
  fillSet();
  ASSERT_EQ(save(), 1);
  EXPECT_FALSE(rois->hasBorders((masks / "A.ldm").string()));
  EXPECT_FALSE(rois->hasBorders((masks / "missing.ldm").string()));
  for (const char* name : {"A", "B"}) {
    replaceIn(masks / (std::string(name) + ".ldm"), "</VolumeInformation>",
              "<TileBorder>1</TileBorder></VolumeInformation>");
    EXPECT_TRUE(rois->hasBorders((masks / (std::string(name) + ".ldm")).string()));
  }
  console.clear();
  HxApplication::setUnattended(true);
  EXPECT_EQ(load(file, 0)->getNumberOfRois(), 0U);
  HxApplication::setUnattended(false);
  ASSERT_EQ(console.consoleEntries.size(), 1U);
  EXPECT_THAT(console.consoleEntries[0], HasSubstr((masks / "A.ldm").string()));
  EXPECT_THAT(console.consoleEntries[0], HasSubstr((masks / "B.ldm").string()));
  EXPECT_THAT(console.consoleEntries[0], Not(HasSubstr("C.ldm")));
}

}  // namespace
