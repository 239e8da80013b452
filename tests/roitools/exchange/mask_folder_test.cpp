#include <QDir>
#include <cmath>
#include <unistd.h>

#include "quarn/kernel/io/HxFieldFile.h"
#include "quarn/kernel/network/HxNetwork.h"
#include "quarn/voxora/files/FaultFileSystem.h"
#include "roitools/exchange/MaskTable.h"
#include "roitools/exchange/maskFolder.h"
#include "tests/roitools/exchange/ExchangeTest.h"
#include "tests/support/RecordingProgress.h"

namespace {

using roitools::MaskTable;
using ::testing::HasSubstr;

const HxGeometry3 kGeometry{{-90, 126, -72}, {1, 1.5, 2}, {-1, 0, 0, 0, -1, 0, 0, 0, 1}};
const QString kSuffix = HxFieldFile::suffix();

/// The files of the workbench's own fields stand for those of images.
class MaskFolder : public ExchangeTest {
protected:
  MaskFolder() {
    const McVec3i grid(20, 10, 6);
    rois_ = new HxRois;
    rois_->setLabel("Rois");
    auto* const group = new Group("pair", McColor(1, 0, 0.5F), nullptr);
    rois_->addRoi(group);
    for (const auto& [name, x] : {std::pair("one", 0), {"One", 1}}) {
      const McHandle<Mask> mask = makeMask(name, grid, McColor(0.1F, 1.0F / 3, 0));
      draw(*mask, McVec3i(x, 2, 3), McVec3i(9, 3, 3));
      group->addMask(mask);
    }
    rois_->addRoi(new Group("nobody", McColor(0, 0, 1), nullptr));
    rois_->addRoi(makeMask("nothing", grid, McColor(1, 1, 1)));
    EXPECT_TRUE(rois_->portData.connect(addField(grid, kGeometry)));
  }

  QString save(const QString& name = "masks") {
    roitools::saveMaskFolder(*rois_, path(name), kSuffix);
    return path(name) + "/" + name + ".masks.csv";
  }

  std::string refusalOf(const QString& file) {
    return refusal([&] { HxFileTypes::instance().load(file); });
  }

  McHandle<HxRois> rois_;
};

TEST_F(MaskFolder, ComesBackAsItWas) {
  const QString table = save();
  EXPECT_EQ(read("masks/masks.masks.csv"),
            "file,name,group,red,green,blue\n,,pair,1,0,0.5\n,,nobody,0,0,1\none.field.qm,one,pair,0.1,0.33333334,0\n"
            "One-2.field.qm,One,pair,0.1,0.33333334,0\nnothing.field.qm,nothing,,1,1,1\n");
  HxObjectPool::instance().clear();
  EXPECT_EQ(HxFileTypes::instance().load(table), QStringList({"masks", "masks-grid"}));
  auto* const back = dynamic_cast<HxRois*>(HxObjectPool::instance().find("masks"));
  ASSERT_TRUE(back);
  expectEqual(*back, *rois_);
  EXPECT_FALSE(back->isModified());
  EXPECT_EQ(dynamic_cast<HxUniformLabelField3*>(back->portData.source())->geometry(), kGeometry);
}

TEST_F(MaskFolder, ComesBackWithItsNetwork) {
  const QString table = save();
  HxObjectPool::instance().clear();
  HxFileTypes::instance().load(table);
  EXPECT_TRUE(HxNetwork::save(path("all.quarn")).isEmpty());
  HxObjectPool::instance().clear();
  HxNetwork::load(path("all.quarn"));
  EXPECT_EQ(HxObjectPool::instance().objects().size(), 2U);
  expectEqual(*dynamic_cast<HxRois*>(HxObjectPool::instance().find("masks")), *rois_);
}

TEST_F(MaskFolder, IsAFormatOfSets) {
  QStringList formats;
  for (const HxSaverEntry& saver : HxFileTypes::instance().saversFor(*rois_)) formats.append(saver.format);
  for (const char* format : {"Segmentation NRRD", "NIfTI masks", "NRRD masks"}) EXPECT_TRUE(formats.contains(format));
}

TEST_F(MaskFolder, ReplacesNothing) {
  ASSERT_TRUE(QDir(folder_.path()).mkdir("empty"));
  EXPECT_NO_THROW(save("empty"));
  EXPECT_THAT(refusal([&] { save("empty"); }), HasSubstr("empty: exists and is not an empty folder"));
  write("file", "old");
  EXPECT_THAT(refusal([&] { save("file"); }), HasSubstr("file: exists and is not an empty folder"));
  EXPECT_EQ(read("file"), "old");
}

TEST_F(MaskFolder, NeedsSomethingThatWritesTheImages) {
  EXPECT_THAT(refusal([&] { roitools::saveMaskFolder(*rois_, path("masks"), ".none"); }),
              HasSubstr("masks: nothing that was loaded can write label fields as .none files"));
  EXPECT_EQ(QDir(folder_.path()).entryList({"masks*"}), QStringList());
}

TEST_F(MaskFolder, LeavesNothingWhenAnythingFails) {
  std::uint64_t call = 1;
  int failures = 0;
  for (;; ++call) {
    hxvoxora::FaultFileSystem faulty(hxvoxora::FileSystem::posix());
    const hxvoxora::FileSystemOverride scope(faulty);
    faulty.arm({.call = call});
    bool hasThrown = false;
    try {
      save();
    } catch (const McException& failure) {
      hasThrown = true;
      EXPECT_THAT(failure.what(), HasSubstr(path("masks").toStdString())) << call;
    }
    if (!faulty.hasFailed()) break;
    const bool isThere = QDir(path("masks")).exists();
    EXPECT_TRUE(hasThrown || isThere) << call;
    EXPECT_EQ(QFile::exists(path("masks/masks.masks.csv")), isThere) << call;
    if (hasThrown) ++failures;
    for (const QString& left : QDir(folder_.path()).entryList({"masks*"})) QDir(path(left)).removeRecursively();
  }
  EXPECT_GT(failures, 20);
}

TEST_F(MaskFolder, LeavesNothingWhenTheUserInterrupts) {
  RecordingProgress progress;
  progress.interruptAfter = 3;
  const ProgressScope scope(progress);
  EXPECT_THAT(refusal([&] { save(); }), HasSubstr("interrupted"));
  EXPECT_EQ(QDir(folder_.path()).entryList({"masks*"}), QStringList());
}

TEST_F(MaskFolder, IsLoadedByTheNameOfTheFolder) {
  save();
  HxObjectPool::instance().clear();
  EXPECT_EQ(HxFileTypes::instance().load(path("masks")), QStringList({"masks", "masks-grid"}));
  auto* const back = dynamic_cast<HxRois*>(HxObjectPool::instance().find("masks"));
  ASSERT_TRUE(back);
  expectEqual(*back, *rois_);
  EXPECT_EQ(back->getLoadCmd(), path("masks/masks.masks.csv")) << "networks load the table";
  HxObjectPool::instance().clear();

  ASSERT_TRUE(QFile::copy(path("masks/masks.masks.csv"), path("masks/a.masks.csv")));
  EXPECT_EQ(HxFileTypes::instance().load(path("masks") + "/"), QStringList({"masks", "masks-grid"}))
      << "the table with the name of the folder counts";
  HxObjectPool::instance().clear();
  ASSERT_TRUE(QFile::rename(path("masks/masks.masks.csv"), path("masks/b.masks.csv")));
  EXPECT_THAT(refusalOf(path("masks")), HasSubstr("a.masks.csv and b.masks.csv both stand for the folder"));
}

TEST_F(MaskFolder, IsFreedOfWhatKilledProcessesLeft) {
  const QString left = "masks~0123456789abcdef", filled = "masks~1123456789abcdef", other = "masks~mine";
  const auto leave = [&] {
    for (const QString& name : {left, filled, other}) {
      ASSERT_TRUE(QDir(folder_.path()).mkpath(name));
      write(name + "/.lock", "");
      write(name + "/one.field.qm", "half");
    }
  };
  leave();
  const auto lock = hxvoxora::FileSystem::posix().tryLock(path(filled + "/.lock").toStdString());
  ASSERT_TRUE(lock);
  const QString table = save();
  EXPECT_EQ(QDir(folder_.path()).entryList({"masks*"}), QStringList({"masks", filled, other}))
      << "one that is being filled stays, and so does what has another name";
  EXPECT_EQ(QDir(path("masks")).entryList({".*"}, QDir::Files | QDir::Hidden), QStringList());

  leave();
  HxObjectPool::instance().clear();
  HxFileTypes::instance().load(table);
  EXPECT_EQ(QDir(folder_.path()).entryList({"masks*"}), QStringList({"masks", filled, other}));
}

TEST_F(MaskFolder, RefusesABadTable) {
  save();
  const std::string whole = read("masks/masks.masks.csv");
  const struct {
    std::string from, to, refusal;
  } cases[] = {
      {"file,name", "name,file", "masks.csv:1: is no table of masks"},
      {"one.field.qm,one,pair", "one.field.qm,one", "masks.csv:4: 6 cells are expected, got \"5\""},
      {"one.field.qm", "../one.field.qm",
       "masks.csv:4: the plain name of a file in the same folder is expected, got \"../one.field.qm\""},
      {"one.field.qm", "/etc/passwd", "got \"/etc/passwd\""},
      {"one.field.qm", "..", "got \"..\""},
      {"one.field.qm", "none.field.qm", "none.field.qm: is named by the table, but missing"},
      {"one.field.qm", "masks.masks.csv", "masks.masks.csv: "},
      {"one.field.qm", "\"one.field.qm", "a quote has no end"},
      {"0.1,0.33333334", "red,0", "masks.csv:4: colours are numbers from 0 to 1, got \"red\""},
      {"0.1,0.33333334", "nan,0", "got \"nan\""},
      {"0.1,0.33333334", "2,0", "got \"2\""},
      {",,nobody", ",,", "masks.csv:3: neither a mask nor a group"},
  };
  for (const auto& c : cases) {
    std::string text = whole;
    ASSERT_NE(text.find(c.from), std::string::npos) << c.from;
    text.replace(text.find(c.from), c.from.size(), c.to);
    EXPECT_THAT(refusalOf(write("masks/bad.masks.csv", text)), HasSubstr(c.refusal)) << c.to;
  }
  EXPECT_THAT(refusalOf(write("masks/bad.masks.csv", "")), HasSubstr("is no table of masks"));
  EXPECT_THAT(refusalOf(write("masks/bad.masks.csv", whole.substr(0, whole.find('\n') + 1))),
              HasSubstr("names no masks"));
  EXPECT_THAT(refusalOf(write("masks/bad.masks.csv", std::string(2 << 20, 'x'))), HasSubstr("bad.masks.csv"));
}

TEST_F(MaskFolder, RefusesTablesThatReadThemselves) {
  write("loop.masks.csv", "file,name,group,red,green,blue\nloop.masks.csv,a,,1,1,1\n");
  EXPECT_THAT(refusalOf(path("loop.masks.csv")), HasSubstr("loop.masks.csv: "));
}

TEST_F(MaskFolder, FollowsNoLinks) {
  save();
  ASSERT_EQ(::symlink("one.field.qm", qPrintable(path("masks/link.field.qm"))), 0);
  std::string text = read("masks/masks.masks.csv");
  text.replace(text.find("one.field.qm"), 12, "link.field.qm");
  EXPECT_THAT(refusalOf(write("masks/bad.masks.csv", text)), HasSubstr("link.field.qm: is not a regular file"));
}

/// A set would bring locks and questions with it.
TEST_F(MaskFolder, LoadsNoOtherObjects) {
  save();
  ASSERT_EQ(rois_->writeQuarnMesh(qPrintable(path("masks/set.ROIs.qm"))), 1);
  std::string text = read("masks/masks.masks.csv");
  text.replace(text.find("one.field.qm"), 12, "set.ROIs.qm");
  const int objects = static_cast<int>(HxObjectPool::instance().objects().size());
  EXPECT_THAT(refusalOf(write("masks/bad.masks.csv", text)), HasSubstr("set.ROIs.qm: -labels, -colors, -kind"));
  EXPECT_EQ(static_cast<int>(HxObjectPool::instance().objects().size()), objects);
}

TEST_F(MaskFolder, TakesNoVoxelsThatAreNoNumbers) {
  save();
  const McHandle<HxUniformScalarField3> image(new HxUniformScalarField3({20, 10, 6}, McPrimType::Float));
  image->setGeometry(kGeometry);
  image->visitValues([](auto* values) {
    values[0] = static_cast<std::decay_t<decltype(*values)>>(std::nan(""));
    values[1] = 1;
  });
  HxFieldFile::save(*image, path("masks/nan.field.qm"));
  std::string text = read("masks/masks.masks.csv");
  text.replace(text.find("nothing.field.qm"), 16, "nan.field.qm");
  const HxRois* const rois = loadSet(write("masks/bad.masks.csv", text));
  EXPECT_EQ(rois->getMask("nothing")->getBoundingBox(), McBox3i(1, 1, 0, 0, 0, 0));
}

TEST_F(MaskFolder, ReadsAVeryLongListOfGroups) {
  save();
  std::string text = "file,name,group,red,green,blue\none.field.qm,one,,1,1,1\n";
  for (int i = 0; i < 60000; ++i) {
    const QChar signs[] = {QChar(0x4e00 + i % 300), QChar(0x4e00 + i / 300)};
    text += ",," + QString(signs, 2).toStdString() + ",0,0,0\n";
  }
  const HxRois* const rois = loadSet(write("masks/many.masks.csv", text));
  EXPECT_EQ(rois->getNumberOfRois(), 1001U);
  EXPECT_TRUE(rois->getRoi("__998"));
  EXPECT_THAT(messages_.consoleText(), HasSubstr("many.masks.csv: there are more than 1000 groups without members"));
}

TEST_F(MaskFolder, RefusesImagesOfAnotherGrid) {
  save();
  const McHandle<HxUniformLabelField3> other(new HxUniformLabelField3({20, 10, 6}));
  HxFieldFile::save(*other, path("masks/other.field.qm"));
  std::string text = read("masks/masks.masks.csv");
  text.replace(text.find("nothing.field.qm"), 16, "other.field.qm");
  EXPECT_THAT(refusalOf(write("masks/bad.masks.csv", text)),
              HasSubstr("other.field.qm: has another grid, or lies elsewhere, than "));
}

TEST_F(MaskFolder, RefusesOptionsOfImages) {
  const QString table = save();
  HxLoadOptions options;
  options.colors = "colors.lut";
  EXPECT_THAT(refusal([&] { HxFileTypes::instance().load(table, options); }),
              HasSubstr("-kind scalar for its grid alone"));
}

TEST_F(MaskFolder, CutsLongNamesOfFiles) {
  const McVec3i grid = rois_->dimensions();
  const std::string start(240, 'n');
  for (const char* end : {"1", "2", "3"}) rois_->addRoi(makeMask((start + end).c_str(), grid, McColor(1, 0, 0)));
  const QString table = save();
  EXPECT_EQ(QDir(path("masks")).entryList({"nnn*.field.qm"}).size(), 3);
  EXPECT_TRUE(QFile::exists(path("masks/") + QString(200, 'n') + "-3.field.qm"));
  HxObjectPool::instance().clear();
  expectEqual(*loadSet(table), *rois_);
}

TEST(MaskTable, CountsLinesAndKeepsSigns) {
  const auto parse = [](const char* rows) {
    return MaskTable::parse(QByteArray("file,name,group,red,green,blue\r\n") + rows, "t.masks.csv");
  };
  const auto refusal = [&](const char* rows) -> std::string {
    try {
      parse(rows);
    } catch (const McException& failure) {
      return failure.what();
    }
    return "nothing was refused";
  };
  EXPECT_THAT(refusal("a.nii,\"two\nlines\",,1,1,1\n\nb.nii,b,,1,1,red\n"), HasSubstr("t.masks.csv:5: colours"));
  EXPECT_THAT(refusal("a.nii,\"a\"b,,1,1,1\n"), HasSubstr(":2: a comma or the end of the line must follow a quote"));
  EXPECT_THAT(refusal("a.nii,b,,1,1,\"1"), HasSubstr(":2: a quote has no end"));
  const MaskTable table = parse("a.nii,\"a\r\n\",\"g\"\"h\",1,1,1\r\nb.nii,5\" tube,,1,1,\"1\"\r\nc.nii,,,1,1,0.5");
  ASSERT_EQ(table.rows.size(), 3U);
  EXPECT_EQ(table.rows[0].name, "a\r\n");
  EXPECT_EQ(table.rows[0].group, "g\"h");
  EXPECT_EQ(table.rows[1].name, "5\" tube");
  EXPECT_EQ(table.rows[2].color.b, 0.5F);
}

TEST(MaskTable, HoldsCellsOfAnyText) {
  MaskTable table;
  table.rows = {{"a,\"b\".nii", "line\nend", "", McColor(0.1F, 0, 1)}};
  const MaskTable back =
      MaskTable::parse("\xef\xbb\xbf" + table.toText().replace("blue\n", "blue\r\n\r\n"), "t.masks.csv");
  ASSERT_EQ(back.rows.size(), 1U);
  EXPECT_EQ(back.rows[0].file, "a,\"b\".nii");
  EXPECT_EQ(back.rows[0].name, "line\nend");
  EXPECT_EQ(back.rows[0].color, McColor(0.1F, 0, 1));
}

}  // namespace
