#include <QDir>
#include <random>

#include "hxroi/HxRoiSelector.h"
#include "quarn/kernel/io/NrrdHeader.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/kernel/network/HxNetwork.h"
#include "quarn/voxora/files/FaultFileSystem.h"
#include "quarn/voxora/files/byteCodec.h"
#include "roitools/ShownProgress.h"
#include "roitools/exchange/placeOfSet.h"
#include "roitools/exchange/saveSegmentation.h"
#include "tests/roitools/exchange/ExchangeTest.h"
#include "tests/support/RecordingProgress.h"
#include "tests/support/stride.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

const HxGeometry3 kOblique{{-90.5, 12.25, 1e-3}, {0.5, 0.75, 2}, {0, -1, 0, 0.6, 0, -0.8, 0.8, 0, 0.6}};

std::string gzipped(const std::string& raw) {
  std::string packed(raw.size() + 1000, '\0');
  packed.resize(hxvoxora::packBytes(std::as_bytes(std::span(raw)), std::as_writable_bytes(std::span(packed))));
  return packed;
}

class Segmentation : public ExchangeTest {
protected:
  /// Three masks that overlap, two of them in a group, an empty one, and an empty group.
  McHandle<HxRois> makeSet(const McVec3i& grid) {
    McHandle<HxRois> rois(new HxRois);
    rois->setLabel("Rois");
    rois->addRoi(makeMask("first", grid, McColor(0.1F, 0.2F, 0.3F)));
    auto* const group = new Group("pair", McColor(1, 0, 0.5F), nullptr);
    rois->addRoi(group);
    group->addMask(makeMask("Second-1", grid, McColor(0.123456F, 1, 0)));
    group->addMask(makeMask("second-1", grid, McColor(1.0F / 3, 1, 0)));
    rois->addRoi(new Group("nobody", McColor(0, 0, 1), nullptr));
    rois->addRoi(makeMask("nothing", grid, McColor(1, 1, 1)));
    for (const auto& [name, seed] : {std::pair("first", 1U), {"Second-1", 2U}, {"second-1", 3U}})
      scatter(*rois->getMask(name), seed);
    return rois;
  }

  static void scatter(Mask& mask, unsigned seed) {
    std::mt19937 random(seed);
    const McVec3i grid = mask.dimensions();
    for (int i = 0; i < 60; ++i) {
      const McVec3i origin(static_cast<int>(random() % static_cast<unsigned>(grid.x)),
                           static_cast<int>(random() % static_cast<unsigned>(grid.y)),
                           static_cast<int>(random() % static_cast<unsigned>(grid.z)));
      const McVec3i size(std::min(1 + static_cast<int>(random() % 40), grid.x - origin.x),
                         std::min(1 + static_cast<int>(random() % 5), grid.y - origin.y),
                         std::min(1 + static_cast<int>(random() % 5), grid.z - origin.z));
      draw(mask, origin, size);
    }
  }

  /// A file of another program: fields and keys, then the data.
  QString peerFile(const std::string& lines, const std::string& data) const {
    return write("peer.seg.nrrd", "NRRD0004\n# by another program\n" + lines + "\n" + data);
  }

  static std::string lines(const std::string& type, const std::string& sizes, const std::string& keys) {
    const bool isList = std::ranges::count(sizes, ' ') == 3;
    return "type: " + type + "\ndimension: " + (isList ? "4" : "3") +
           "\nspace: left-posterior-superior\nsizes: " + sizes + "\nspace directions: " + (isList ? "none " : "") +
           "(1,0,0) (0,1,0) (0,0,1)\nkinds: " + (isList ? "list " : "") +
           "domain domain domain\nendian: little\nencoding: raw\nspace origin: (0,0,0)\n" + keys;
  }

  static std::vector<std::string> countsOf(const HxRois& rois) {
    std::vector<std::string> counts;
    for (const Mask* mask : rois.masks()) {
      const McVec3i size = mask->dimensions();
      counts.push_back(
          mask->name() + " " +
          std::to_string(mask->volumeMask()->countSetVoxels({{0, 0, 0}, {size.x - 1, size.y - 1, size.z - 1}})));
    }
    return counts;
  }

  std::string refusalOf(const QString& file) {
    const std::string text = refusal([&] { HxFileTypes::instance().load(file); });
    EXPECT_TRUE(HxObjectPool::instance().objects().empty());
    return text;
  }

  const McVec3i grid_{70, 41, 23};
};

TEST_F(Segmentation, ComesBackAsItWas) {
  const McHandle<HxRois> rois = makeSet(grid_);
  HxUniformLabelField3* const field = addField(grid_, kOblique);
  ASSERT_TRUE(rois->portData.connect(field));
  HxFileTypes::instance().save(rois, QString(), path("brain.seg.nrrd"));
  EXPECT_EQ(files(), QStringList("brain.seg.nrrd"));

  HxObjectPool::instance().remove(field);
  const QStringList names = HxFileTypes::instance().load(path("brain.seg.nrrd"));
  EXPECT_EQ(names, QStringList({"brain", "brain-grid"}));
  auto* const back = dynamic_cast<HxRois*>(HxObjectPool::instance().find("brain"));
  ASSERT_TRUE(back);
  expectEqual(*back, *rois);
  EXPECT_FALSE(back->isModified());
  const auto* const grid = dynamic_cast<HxUniformLabelField3*>(back->portData.source());
  ASSERT_TRUE(grid);
  const HxGeometry3 geometry = grid->geometry();
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_DOUBLE_EQ(geometry.origin[i], kOblique.origin[i]);
    EXPECT_DOUBLE_EQ(geometry.voxelSize[i], kOblique.voxelSize[i]);
  }
  for (std::size_t i = 0; i < 9; ++i) EXPECT_NEAR(geometry.direction[i], kOblique.direction[i], 1e-15);
  EXPECT_THAT(messages_.consoleText(), Not(HasSubstr("brain.seg.nrrd")));
}

TEST_F(Segmentation, GivesTheSameFileAgain) {
  HxFileTypes::instance().save(makeSet(grid_), QString(), path("a.seg.nrrd"));
  HxFileTypes::instance().save(loadSet(path("a.seg.nrrd")), QString(), path("b.seg.nrrd"));
  EXPECT_EQ(read("a.seg.nrrd"), read("b.seg.nrrd"));
}

TEST_F(Segmentation, HasOneLayerWhereNothingOverlaps) {
  const McHandle<HxRois> rois(new HxRois);
  for (int i = 0; i < 100; ++i) {
    const McHandle<Mask> mask = makeMask(("m" + std::to_string(i)).c_str(), McVec3i(100, 3, 2), McColor(1, 0, 0));
    draw(*mask, McVec3i(i, 0, 0), McVec3i(1, 3, 2));
    rois->addRoi(mask);
  }
  HxFileTypes::instance().save(rois, "segmentation nrrd", path("brain.seg.nrrd"));
  const auto header = quarn::NrrdHeader::read(path("brain.seg.nrrd"));
  EXPECT_THAT(header.sizes, ElementsAre(100, 3, 2));
  EXPECT_THAT(header.kinds, ElementsAre("domain", "domain", "domain"));
  EXPECT_EQ(*header.find("Segment99_LabelValue"), "100");
  EXPECT_EQ(*header.find("Segment99_Extent"), "99 99 0 2 0 1");
  EXPECT_EQ(*header.find("Segment99_Name"), "m99");
  expectEqual(*loadSet(path("brain.seg.nrrd")), *rois);
}

TEST_F(Segmentation, PutsOverlappingMasksIntoLayers) {
  const McHandle<HxRois> rois(new HxRois);
  for (const auto& [name, x] : {std::pair("a", 0), {"b", 1}, {"c", 2}, {"d", 8}}) {
    const McHandle<Mask> mask = makeMask(name, McVec3i(20, 4, 4), McColor(1, 0, 0));
    draw(*mask, McVec3i(x, 1, 1), McVec3i(2, 1, 1));
    rois->addRoi(mask);
  }
  HxFileTypes::instance().save(rois, QString(), path("brain.seg.nrrd"));
  const auto header = quarn::NrrdHeader::read(path("brain.seg.nrrd"));
  EXPECT_THAT(header.sizes, ElementsAre(2, 20, 4, 4));
  EXPECT_THAT(header.kinds, ElementsAre("list", "domain", "domain", "domain"));
  const auto placeOf = [&](int i) {
    const std::string start = "Segment" + std::to_string(i) + "_";
    return *header.find(start + "Layer") + ":" + *header.find(start + "LabelValue");
  };
  EXPECT_EQ(placeOf(0), "0:1");
  EXPECT_EQ(placeOf(1), "1:1");
  EXPECT_EQ(placeOf(2), "0:2");
  EXPECT_EQ(placeOf(3), "0:3");
}

TEST_F(Segmentation, ConnectsToAFieldThatLiesThere) {
  const McHandle<HxRois> rois = makeSet(grid_);
  addField(grid_, HxGeometry3());
  HxUniformLabelField3* const field = addField(grid_, kOblique);
  ASSERT_TRUE(rois->portData.connect(field));
  HxFileTypes::instance().save(rois, QString(), path("brain.seg.nrrd"));
  HxLoadOptions options;
  options.name = "mine";
  EXPECT_EQ(HxFileTypes::instance().load(path("brain.seg.nrrd"), options), QStringList("mine"));
  EXPECT_EQ(dynamic_cast<HxRois*>(HxObjectPool::instance().find("mine"))->portData.source(), field);
}

TEST_F(Segmentation, MakesNoFieldForAGridThatIsTooLarge) {
  const roitools::ReadSet read{makeSet(grid_), grid_, kOblique, {}};
  roitools::connectToPlace(read, "brain", "brain.seg.nrrd", 70 * 41 * 23 - 1);
  EXPECT_FALSE(read.rois->portData.source());
  EXPECT_THAT(messages_.consoleText(), HasSubstr("brain.seg.nrrd: no field is made for a grid of so many voxels"));
  messages_.clear();
  EXPECT_EQ(roitools::geometryToWrite(*read.rois, "there"), kOblique);
  EXPECT_EQ(messages_.consoleText(), "");
  roitools::connectToPlace(read, "brain", "brain.seg.nrrd", 70 * 41 * 23);
  EXPECT_EQ(read.rois->portData.source(), HxObjectPool::instance().find("brain-grid"));
}

TEST_F(Segmentation, TellsWhatIsNotInTheFile) {
  const McHandle<HxRois> rois = makeSet(grid_);
  HxFileTypes::instance().save(rois, QString(), path("brain.seg.nrrd"));
  EXPECT_THAT(messages_.consoleText(), HasSubstr("no field is connected to \"data\" of Rois"));
  EXPECT_THAT(messages_.consoleText(), Not(HasSubstr("parameters, colormaps")));
  rois->getMask("first")->setProperty("Comment", "left");
  HxFileTypes::instance().save(rois, QString(), path("brain.seg.nrrd"));
  EXPECT_THAT(messages_.consoleText(), HasSubstr("parameters, colormaps and transparency of the ROIs are not in it"));
}

TEST_F(Segmentation, ComesBackWithItsNetwork) {
  HxFileTypes::instance().save(makeSet(grid_), QString(), path("brain.seg.nrrd"));
  HxFileTypes::instance().load(path("brain.seg.nrrd"));
  EXPECT_TRUE(HxNetwork::save(path("all.quarn")).isEmpty());
  HxObjectPool::instance().clear();
  HxNetwork::load(path("all.quarn"));
  auto* const rois = dynamic_cast<HxRois*>(HxObjectPool::instance().find("brain"));
  ASSERT_TRUE(rois);
  EXPECT_EQ(rois->portData.source(), HxObjectPool::instance().find("brain-grid"));
  EXPECT_EQ(HxObjectPool::instance().objects().size(), 2U);
  EXPECT_EQ(rois->getNumberOfMasks(), 4U);
}

TEST_F(Segmentation, TheChoiceOfASelectorComesBackWithItsNetwork) {
  HxRoiSelector::initClass();
  HxFileTypes::instance().save(makeSet(grid_), QString(), path("brain.seg.nrrd"));
  HxFileTypes::instance().load(path("brain.seg.nrrd"));
  HxObjectPool& pool = HxObjectPool::instance();
  const auto visibleNames = [&pool] {
    std::vector<std::string> names;
    const auto* const choice = dynamic_cast<HxRoiSelector*>(pool.find("choice"));
    if (!choice) return names;
    for (const Mask* mask : choice->getVisibleMasks()) names.push_back(mask->name());
    return names;
  };
  {
    const McHandle<HxRoiSelector> choice(new HxRoiSelector);
    pool.add(choice, "choice");
    ASSERT_TRUE(choice->portData.connect(pool.find("brain")));
    choice->fire();
    for (const char* name : {"second-1", "nothing"}) choice->portRoiVisibility.setRoiVisible(false, name);
    choice->fire();
  }
  ASSERT_THAT(visibleNames(), ElementsAre("first", "Second-1"));
  EXPECT_TRUE(HxNetwork::save(path("all.quarn")).isEmpty());
  pool.clear();
  HxNetwork::load(path("all.quarn"));
  EXPECT_THAT(visibleNames(), ElementsAre("first", "Second-1"));
}

TEST_F(Segmentation, NeedsAGrid) {
  const McHandle<HxRois> rois(new HxRois);
  EXPECT_THAT(refusal([&] { HxFileTypes::instance().save(rois, QString(), path("brain.seg.nrrd")); }),
              HasSubstr("the set has no masks, and thus no grid"));
  EXPECT_EQ(files(), QStringList());
}

// --- What must not be lost ------------------------------------------------------------------------------------------

TEST_F(Segmentation, LeavesTheOldFileWhenAnythingFails) {
  const McHandle<HxRois> rois = makeSet(grid_);
  const QString file = write("brain.seg.nrrd", "old");
  write("brain.seg.nrrd~0123456789abcdef", "left by a killed process");
  std::uint64_t call = 1;
  for (;; ++call) {
    hxvoxora::FaultFileSystem faulty(hxvoxora::FileSystem::posix());
    const hxvoxora::FileSystemOverride scope(faulty);
    faulty.arm({.call = call});
    std::string text;
    try {
      roitools::saveSegmentation(*rois, file);
    } catch (const McException& failure) {
      text = failure.what();
    }
    if (!faulty.hasFailed()) break;
    if (text.empty()) {
      // A left-over that stays is no failure.
      write("brain.seg.nrrd", "old");
      continue;
    }
    EXPECT_THAT(text, HasSubstr(file.toStdString() + ": ")) << call;
    const bool isSaved = text.find("was saved, but") != std::string::npos;
    EXPECT_EQ(read("brain.seg.nrrd") == "old", !isSaved) << call << text;
    if (isSaved) write("brain.seg.nrrd", "old");
  }
  EXPECT_GT(call, 8U);
  EXPECT_NE(read("brain.seg.nrrd"), "old");
  EXPECT_EQ(files(), QStringList("brain.seg.nrrd"));
}

TEST_F(Segmentation, LeavesTheOldFileWhenTheUserInterrupts) {
  const McHandle<HxRois> rois = makeSet(grid_);
  const QString file = write("brain.seg.nrrd", "old");
  const roitools::ShownProgress::EagerScope eager;
  int questions = 0;
  for (bool isSaved = false; !isSaved; ++questions) {
    RecordingProgress progress;
    progress.interruptAfter = questions;
    const ProgressScope scope(progress);
    try {
      roitools::saveSegmentation(*rois, file);
      isSaved = true;
    } catch (const McException& failure) {
      EXPECT_THAT(failure.what(), HasSubstr("saving was interrupted, nothing has changed there"));
      EXPECT_EQ(read("brain.seg.nrrd"), "old");
      EXPECT_EQ(files(), QStringList("brain.seg.nrrd"));
    }
  }
  EXPECT_GT(questions, 4);
}

TEST_F(Segmentation, LeavesNothingWhenTheUserInterruptsReading) {
  HxFileTypes::instance().save(makeSet(grid_), QString(), path("brain.seg.nrrd"));
  RecordingProgress progress;
  progress.interruptAfter = 0;
  const ProgressScope scope(progress);
  const roitools::ShownProgress::EagerScope eager;
  EXPECT_THAT(refusalOf(path("brain.seg.nrrd")), HasSubstr("brain.seg.nrrd: reading was interrupted"));
}

// --- Files of other programs ----------------------------------------------------------------------------------------

TEST_F(Segmentation, ReadsLabelsOfAnyWidth) {
  const auto data = [](auto... labels) {
    std::string bytes;
    for (const auto label : {labels...}) bytes.append(reinterpret_cast<const char*>(&label), sizeof label);
    return bytes;
  };
  const std::string keys =
      "Segment0_LabelValue:=300\nSegment0_Name:=big\nSegment1_LabelValue:=-2\nSegment1_Name:=low\n";
  const HxRois* rois =
      loadSet(peerFile(lines("short", "2 2 1", keys), data(short{300}, short{-2}, short{0}, short{300})));
  EXPECT_THAT(countsOf(*rois), ElementsAre("big 2", "low 1"));
  HxObjectPool::instance().clear();
  rois = loadSet(peerFile(lines("int64", "2 2 1", "Segment7_LabelValue:=5000000000\n"),
                          data(std::int64_t{5000000000}, std::int64_t{1}, std::int64_t{0}, std::int64_t{0})));
  EXPECT_THAT(countsOf(*rois), ElementsAre("Segment_7 1"));
  EXPECT_THAT(messages_.consoleText(),
              HasSubstr("1 voxels have labels that are those of no segment, and are left out: 1"));
}

TEST_F(Segmentation, ReadsBothByteOrdersAndGzip) {
  std::string text = lines("uint16", "2 1 1", "Segment0_LabelValue:=258\n");
  text.replace(text.find("little"), 6, "big");
  EXPECT_THAT(countsOf(*loadSet(peerFile(text, std::string("\x01\x02\x00\x00", 4)))), ElementsAre("Segment_0 1"));
  HxObjectPool::instance().clear();
  text.replace(text.find("raw"), 3, "gz");
  EXPECT_THAT(countsOf(*loadSet(peerFile(text, gzipped(std::string("\x01\x02\x01\x02", 4))))),
              ElementsAre("Segment_0 2"));
}

TEST_F(Segmentation, ReadsALayerForEachSegmentWithoutKeysForIt) {
  const std::string keys = "Segment0_Name:=a\nSegment1_Name:=b\n";
  EXPECT_THAT(countsOf(*loadSet(peerFile(lines("uint8", "2 2 1 1", keys), std::string("\1\1\0\1", 4)))),
              ElementsAre("a 1", "b 2"));
}

TEST_F(Segmentation, MakesSegmentsOfAllLabelsWithoutAnyKeys) {
  EXPECT_THAT(countsOf(*loadSet(peerFile(lines("uint8", "3 1 1", ""), "\7\2\7"))),
              ElementsAre("Segment_2 1", "Segment_7 2"));
  HxLoadOptions options;
  options.values = {{7, 7}};
  HxObjectPool::instance().clear();
  EXPECT_THAT(countsOf(*loadSet(path("peer.seg.nrrd"), options)), ElementsAre("Segment_7 2"));
}

TEST_F(Segmentation, TellsOfAFileWithoutImage) {
  EXPECT_THAT(countsOf(*loadSet(peerFile(lines("uint8", "1 1 1", "Segment0_Name:=a\n"), std::string(1, '\0')))),
              ElementsAre("a 0"));
  EXPECT_THAT(messages_.consoleText(), HasSubstr("has no image of them"));
}

TEST_F(Segmentation, BringsEverySpaceToOurs) {
  for (const auto& [space, x, y] : {std::tuple("right-anterior-superior", -1, -1),
                                    {"RAS", -1, -1},
                                    {"left-anterior-superior", 1, -1},
                                    {"LPS", 1, 1}}) {
    std::string text = lines("uint8", "2 1 1", "");
    text.replace(text.find("left-posterior-superior"), 23, space);
    text.replace(text.find("(1,0,0) (0,1,0)"), 15, "(2,0,0) (0,3,0)");
    text.replace(text.find("(0,0,0)"), 7, "(10,20,30)");
    const HxRois* const rois = loadSet(peerFile(text, "\1\1"));
    const HxGeometry3 geometry = dynamic_cast<HxUniformLabelField3*>(rois->portData.source())->geometry();
    EXPECT_THAT(geometry.origin, ElementsAre(10 * x, 20 * y, 30)) << space;
    EXPECT_THAT(geometry.voxelSize, ElementsAre(2, 3, 1)) << space;
    EXPECT_THAT(geometry.direction, ElementsAre(x, 0, 0, 0, y, 0, 0, 0, 1)) << space;
    HxObjectPool::instance().clear();
  }
}

TEST_F(Segmentation, KeepsNamesThatRoisCannotHave) {
  const std::string keys =
      "Segment0_ID:=Segment_1\nSegment0_Name:=Left kidney \xc3\xa9\nSegment0_LabelValue:=1\nSegment0_Layer:=0\n"
      "Segment0_Color:=0.5 0.25 1\nSegment0_Tags:=TerminologyEntry:a~b^c|\n"
      "Segment1_ID:=Segment_1\nSegment1_Name:=Left kidney \xc3\xa9\nSegment1_LabelValue:=2\nSegment1_Layer:=0\n";
  HxRois* rois = loadSet(peerFile(lines("uint8", "2 1 1", keys), "\1\2"));
  EXPECT_THAT(countsOf(*rois), ElementsAre("Left_kidney__ 1", "Left_kidney__0 1"));
  EXPECT_EQ(rois->getMask("Left_kidney__")->color(false), McColor(0.5F, 0.25F, 1));
  EXPECT_THAT(messages_.consoleText(),
              HasSubstr("names were changed to those that ROIs can have: \"Left kidney \xc3\xa9\" -> Left_kidney__"));
  EXPECT_THAT(
      messages_.consoleText(),
      HasSubstr("names stand there more than once and were numbered: \"Left kidney \xc3\xa9\" -> Left_kidney__0"));

  rois->getMask("Left_kidney__0")->setName("other");
  HxFileTypes::instance().save(rois, QString(), path("again.seg.nrrd"));
  const auto header = quarn::NrrdHeader::read(path("again.seg.nrrd"));
  EXPECT_EQ(*header.find("Segment0_Name"), "Left kidney \xc3\xa9");
  EXPECT_EQ(*header.find("Segment0_ID"), "Segment_1");
  EXPECT_EQ(*header.find("Segment0_Tags"), "TerminologyEntry:a~b^c|");
  EXPECT_EQ(*header.find("Segment1_Name"), "other");
  EXPECT_EQ(*header.find("Segment1_ID"), "other") << "one identifier for two segments is none";
}

TEST_F(Segmentation, KeepsWhatSegmentsHadInASetFile) {
  const std::string keys = "Segment0_Name:=Left kidney\nSegment0_Tags:=a:b|\n";
  HxRois* const rois = loadSet(peerFile(lines("uint8", "2 1 1", keys), "\1\1"));
  ASSERT_EQ(rois->writeQuarnMesh(qPrintable(path("set.ROIs.qm"))), 1);
  const McHandle<HxRois> back(new HxRois);
  QString name;
  ASSERT_EQ(back->readQuarnMesh(QuarnMesh::read(path("set.ROIs.qm")).get(), qPrintable(path("set.ROIs.qm")), name), 1);
  HxFileTypes::instance().save(back, QString(), path("again.seg.nrrd"));
  const auto header = quarn::NrrdHeader::read(path("again.seg.nrrd"));
  EXPECT_EQ(*header.find("Segment0_Name"), "Left kidney");
  EXPECT_EQ(*header.find("Segment0_Tags"), "a:b|");
}

TEST_F(Segmentation, KeepsNoKeysThatASetFileCouldNotHold) {
  std::string keys = "Segment0_:=empty\nSegment0_a.b:=dot\nSegment0_RoiName:=x\n";
  for (int i = 0; i < 20000; ++i) keys += "Segment0_k" + std::to_string(i) + ":=v\n";
  HxRois* const rois = loadSet(peerFile(lines("uint8", "2 1 1", keys), "\1\1"));
  EXPECT_THAT(messages_.consoleText(), HasSubstr("peer.seg.nrrd: 19939 keys of segments have no place in a set"));
  EXPECT_EQ(rois->writeQuarnMesh(qPrintable(path("set.ROIs.qm"))), 1);
}

TEST_F(Segmentation, SurvivesHostileNames) {
  const std::string nasty = "a\\nb\"'{}[exec x]$\\\\ \x01\xff";
  const HxRois* const rois = loadSet(peerFile(
      lines("uint8", "2 1 1", "Segment0_Name:=" + nasty + "\nSegment1_Name:=" + std::string(100000, 'n') + "\n"),
      "\1\2"));
  EXPECT_EQ(rois->getNumberOfMasks(), 2U);
  for (const Mask* mask : rois->masks()) EXPECT_EQ(hxroi::details::Roi::fixedName(mask->name()), mask->name());
  EXPECT_LT(messages_.consoleText().size(), 2000U);
  EXPECT_EQ(messages_.consoleText().find('\x01'), std::string::npos);
}

TEST_F(Segmentation, KeepsTheFirstHundredSegments) {
  std::string keys, data;
  for (int i = 0; i < 120; ++i) {
    keys += "Segment" + std::to_string(i) + "_LabelValue:=" + std::to_string(i + 1) + "\n";
    keys += "Segment" + std::to_string(i) + "_Name:=s" + std::to_string(i) + "\n";
    data += static_cast<char>(i + 1);
  }
  const QString file = peerFile(lines("uint8", "120 1 1", keys), data);
  const HxRois* const rois = loadSet(file);
  EXPECT_EQ(rois->getNumberOfMasks(), 100U);
  EXPECT_TRUE(rois->getMask("s99"));
  ASSERT_EQ(messages_.errors.size(), 1U);
  EXPECT_THAT(messages_.errors.front().toStdString(), HasSubstr("at most 100 masks. Segments left out: s100, s101, "));
  EXPECT_THAT(messages_.errors.front().toStdString(), HasSubstr("s119"));
  HxObjectPool::instance().clear();
  HxLoadOptions options;
  options.values = {{101, 200}};
  EXPECT_EQ(loadSet(file, options)->getNumberOfMasks(), 20U);
}

TEST_F(Segmentation, NamesSomeOfVeryManyLabels) {
  constexpr std::uint32_t count = 200000;
  std::string data(count * sizeof(std::uint32_t), '\0');
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint32_t label = i + 1;
    std::memcpy(data.data() + i * sizeof label, &label, sizeof label);
  }
  const std::string size = std::to_string(count) + " 1 1";
  EXPECT_EQ(loadSet(peerFile(lines("uint32", size, ""), data))->getNumberOfMasks(), 100U);
  ASSERT_EQ(messages_.errors.size(), 1U);
  const std::string text = messages_.errors.front().toStdString();
  EXPECT_THAT(text, HasSubstr("Segments left out: Segment_101, Segment_102, "));
  EXPECT_THAT(text, HasSubstr("Segment_200, and more than 9900 others"));
  EXPECT_LT(text.size(), 3000U);

  HxObjectPool::instance().clear();
  EXPECT_EQ(loadSet(peerFile(lines("uint32", size, "Segment0_LabelValue:=7\n"), data))->getNumberOfMasks(), 1U);
  EXPECT_THAT(messages_.consoleText(), HasSubstr("199999 voxels have labels that are those of no segment"));
}

TEST_F(Segmentation, GivesSegmentsOfOneLabelTheSameVoxels) {
  std::string keys;
  for (int i = 0; i < 100; ++i) {
    const std::string start = "Segment" + std::to_string(i) + "_";
    keys += start + "LabelValue:=1\n" + start + "Layer:=0\n";
  }
  std::string data(300 * 300 * 3, '\1');
  for (std::size_t i = 0; i < data.size(); i += 2) data[i] = '\0';
  const HxRois* const rois = loadSet(peerFile(lines("uint8", "300 300 3", keys), data));
  ASSERT_EQ(rois->getNumberOfMasks(), 100U);
  const Mask& first = *rois->getMask("Segment_0");
  EXPECT_EQ(countsOf(*rois).front(), "Segment_0 135000");
  for (const Mask* mask : rois->masks()) {
    EXPECT_TRUE(bitsOf(*mask) == bitsOf(first)) << mask->name();
    EXPECT_EQ(mask->getBoundingBox(), first.getBoundingBox()) << mask->name();
  }
}

TEST_F(Segmentation, TakesEachGroupOnce) {
  const std::string keys =
      "Segment0_Name:=a\nhxroi.Group0.Name:=g\nhxroi.Group0.Color:=1 0 0\nhxroi.Group1.Name:=g\n"
      "hxroi.Group1.Color:=0 1 0\n";
  const HxRois* const rois = loadSet(peerFile(lines("uint8", "2 1 1", keys), "\1\1"));
  EXPECT_EQ(rois->getNumberOfRois(), 2U);
  EXPECT_EQ(rois->getRoi("g")->color(false), McColor(1, 0, 0));
  EXPECT_THAT(messages_.consoleText(), HasSubstr("peer.seg.nrrd: groups stand there more than once, the first counts"));
}

TEST_F(Segmentation, LeavesVeryManyGroupsOut) {
  std::string keys = "Segment0_Name:=a\n";
  for (int i = 0; i < 20000; ++i) keys += "hxroi.Group" + std::to_string(i) + ".Name:=g" + std::to_string(i) + "\n";
  const HxRois* const rois = loadSet(peerFile(lines("uint8", "2 1 1", keys), "\1\1"));
  EXPECT_EQ(rois->getNumberOfRois(), 1001U);
  EXPECT_THAT(messages_.consoleText(), HasSubstr("more than 1000 groups without members; left out: g1000, g1001, "));
  EXPECT_THAT(messages_.consoleText(), HasSubstr(", and 18990 more"));
}

TEST_F(Segmentation, TakesGroupsWithGapsInTheirNumbers) {
  const std::string keys =
      "Segment0_Name:=a\nhxroi.Group0.Name:=first\nhxroi.Group2.Name:=second\nhxroi.Group2.Color:=0 1 0\n"
      "hxroi.Group10.Name:=third\nhxroi.Group10.Position:=9\nhxroi.Group3.Color:=0 1 0\n";
  const HxRois* const rois = loadSet(peerFile(lines("uint8", "2 1 1", keys), "\1\1"));
  EXPECT_EQ(rois->getNumberOfRois(), 4U);
  EXPECT_EQ(rois->getRoi("second")->color(false), McColor(0, 1, 0));
  EXPECT_TRUE(rois->getRoi("third"));
  EXPECT_THAT(messages_.consoleText(), HasSubstr("keys of groups without a name are left out: hxroi.Group3.Color\n"));
}

TEST_F(Segmentation, TellsOfColoursThatWereCut) {
  const std::string keys = "Segment0_Color:=255 0 0\nSegment1_Color:=0 0 -1\n";
  const HxRois* const rois = loadSet(peerFile(lines("uint8", "2 1 1", keys), "\1\1"));
  EXPECT_EQ(rois->getMask("Segment_0")->color(false), McColor(1, 0, 0));
  EXPECT_THAT(messages_.consoleText(),
              HasSubstr("peer.seg.nrrd: colours beyond 0 to 1 were cut: Segment0_Color 255 0 0, and 1 more\n"));
}

/// Keys that a user added by hand to what a mask keeps.
TEST_F(Segmentation, WritesNoKeyTwice) {
  const std::string keys = "Segment0_Name:=Left kidney\nSegment0_NameAutoGenerated:=1\nSegment0_Tags:=a:b|\n";
  HxRois* const rois = loadSet(peerFile(lines("uint8", "2 1 1", keys), "\1\1"));
  Mask& mask = *rois->getMask("Left_kidney");
  HxParamBundle& kept = *mask.parameters().getBundle("Segment");
  for (const char* key : {"Color", "Layer", "LabelValue", "Extent"}) kept.set(key, QStringLiteral("7"));
  HxFileTypes::instance().save(rois, QString(), path("again.seg.nrrd"));
  EXPECT_EQ(*quarn::NrrdHeader::read(path("again.seg.nrrd")).find("Segment0_NameAutoGenerated"), "1");
  mask.setName("renamed");
  HxFileTypes::instance().save(rois, QString(), path("again.seg.nrrd"));
  const auto header = quarn::NrrdHeader::read(path("again.seg.nrrd"));
  EXPECT_EQ(*header.find("Segment0_LabelValue"), "1");
  EXPECT_EQ(*header.find("Segment0_Tags"), "a:b|");
  EXPECT_FALSE(header.find("Segment0_NameAutoGenerated"));
  HxObjectPool::instance().clear();
  EXPECT_EQ(countsOf(*loadSet(path("again.seg.nrrd"))).front(), "renamed 2");
}

/// A text for arg() may look like a place for the next one.
TEST_F(Segmentation, NamesFilesWithSignsOfPlaces) {
  std::string data(120, '\0');
  for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>(i + 1);
  loadSet(write("a%2%3.seg.nrrd", "NRRD0004\n" + lines("uint8", "120 1 1", "") + "\n" + data));
  ASSERT_EQ(messages_.errors.size(), 1U);
  EXPECT_THAT(messages_.errors.front().toStdString(), HasSubstr("a%2%3.seg.nrrd: a set holds at most 100 masks"));
}

TEST_F(Segmentation, TellsWhatItsFileDoesNot) {
  const auto told = [&](const std::string& from, const std::string& to) {
    std::string text = lines("uint8", "2 1 1", "");
    text.replace(text.find(from), from.size(), to);
    messages_.clear();
    HxFileTypes::instance().load(peerFile(text, "\1\1"));
    auto* const grid = dynamic_cast<HxUniformLabelField3*>(HxObjectPool::instance().find("peer-grid"));
    const HxGeometry3 geometry = grid ? grid->geometry() : HxGeometry3{{-1, -1, -1}};
    HxObjectPool::instance().clear();
    return geometry;
  };
  EXPECT_EQ(told("space origin: (0,0,0)\n", "space units: \"cm\" \"cm\" \"cm\"\nspace origin: (1,2,3)\n"),
            (HxGeometry3{{10, 20, 30}, {10, 10, 10}}));
  EXPECT_THAT(messages_.consoleText(), Not(HasSubstr("does not tell")));
  EXPECT_EQ(told("space: left-posterior-superior\n", "space: right-anterior-superior\n"),
            (HxGeometry3{{0, 0, 0}, {1, 1, 1}, {-1, 0, 0, 0, -1, 0, 0, 0, 1}}));
  told("space origin: (0,0,0)\n", "");
  EXPECT_THAT(messages_.consoleText(), HasSubstr("its first voxel is taken to be at the origin"));
  told("space: left-posterior-superior\n", "space: scanner-xyz\n");
  EXPECT_THAT(messages_.consoleText(), HasSubstr("tells nothing of the patient"));
  told("(1,0,0) (0,1,0)", "(1,0,0) (0.6,0.8,0)");
  EXPECT_THAT(messages_.consoleText(), HasSubstr("its axes are not perpendicular"));
  told("space directions: (1,0,0) (0,1,0) (0,0,1)\n", "");
  EXPECT_THAT(messages_.consoleText(), HasSubstr("they are taken to be of 1 mm"));
}

// --- Bad input ------------------------------------------------------------------------------------------------------

TEST_F(Segmentation, RefusesWhatIsNoSegmentation) {
  const struct {
    std::string from, to, refusal;
  } cases[] = {
      {"uint8", "float", "field \"type\": labels are whole numbers, got \"float\""},
      {"dimension: 3", "dimension: 2", "field \"sizes\""},
      {"sizes: 2 1 1", "sizes: 4000000000 1 1", "field \"sizes\": masks have at most 2147483647 voxels along an axis"},
      {"sizes: 2 1 1", "sizes: 200000 200000 200000",
       "is cut: it holds 2 bytes of data, the header asks for 8000000000000000"},
      {"encoding: raw", "encoding: bzip2", "field \"encoding\" is \"bzip2\"; \"raw\" and \"gzip\" are read"},
      {"encoding: raw", "line skip: 3\nencoding: raw", "field \"line skip\" is 3; only voxels without lines"},
      {"(1,0,0) (0,1,0)", "(1,0,0) (0,0,0)", "the voxel size along axis 1 is 0"},
      {"(1,0,0) (0,1,0)", "(1,0,0) (2,0,0)", "the directions of its axes do not span a volume"},
      {"encoding: raw", "space units: \"mm\" \"mm\" \"parsec\"\nencoding: raw", "field \"space units\" is"},
      {"Segment0_Layer:=0", "Segment0_Layer:=1",
       "key \"Segment0_Layer\": a whole number from 0 to 0 is expected, got \"1\""},
      {"Segment0_Layer:=0", "Segment0_Layer:=-1", "got \"-1\""},
      {"Segment0_Layer:=0", "Segment0_Layer:=99999999999999999999", "got \"99999999999999999999\""},
      {"Segment0_LabelValue:=1", "Segment0_LabelValue:=one", "key \"Segment0_LabelValue\": a whole number"},
      {"Segment0_LabelValue:=1", "Segment0_LabelValue:=0", "0 stands for no segment"},
      {"Segment0_Color:=1 0 0", "Segment0_Color:=red",
       "key \"Segment0_Color\": three numbers from 0 to 1 are expected, got \"red\""},
      {"Segment0_Color:=1 0 0", "Segment0_Color:=1 0", "got \"1 0\""},
      {"Segment0_Color:=1 0 0", "Segment0_Color:=1 0 nan", "got \"1 0 nan\""},
      {"Segment0_Color:=1 0 0", "Segment0_Color:=1 0 0 0", "got \"1 0 0 0\""},
      {"Segment0_Name:=a", "Segment0_Name:=a\nSegment0_Name:=b",
       "key \"Segment0_Name\": stands there twice, got \"b\""},
      {"Segment0_Name", "Segment-1_Name", "key \"Segment-1_Name\": the number of the segment is none from 0 to 999999"},
      {"Segment0_Name", "Segment99999999999_Name", "the number of the segment is none"},
      {"Segment0_Name", "Segment0x_Name", "the number of the segment is none"},
      {"Segment0_Name", "Segmentation_MasterRepresentation:=Fractional labelmap\nSegment0_Name",
       "only labels can be read"},
      {"encoding: raw", "data file: ../peer.raw\nencoding: raw", "field \"data file\": the plain name of a file"},
      {"encoding: raw", "data file: none.raw\nencoding: raw",
       "field \"data file\" is \"none.raw\", which does not exist beside it"},
  };
  const std::string good =
      lines("uint8", "2 1 1", "Segment0_Name:=a\nSegment0_Layer:=0\nSegment0_LabelValue:=1\nSegment0_Color:=1 0 0\n");
  for (const auto& c : cases) {
    std::string text = good;
    ASSERT_NE(text.find(c.from), std::string::npos) << c.from;
    text.replace(text.find(c.from), c.from.size(), c.to);
    EXPECT_THAT(refusalOf(peerFile(text, "\1\1")), HasSubstr(c.refusal)) << c.to;
  }
  EXPECT_TRUE(loadSet(peerFile(good, "\1\1")));
}

TEST_F(Segmentation, RefusesAFileCutAtAnyByte) {
  HxFileTypes::instance().save(makeSet(McVec3i(9, 8, 7)), QString(), path("brain.seg.nrrd"));
  const std::string whole = read("brain.seg.nrrd");
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const QString file = write("cut.seg.nrrd", whole.substr(0, length));
    EXPECT_THAT(refusalOf(file), HasSubstr(file.toStdString() + ": ")) << length;
  }
}

TEST_F(Segmentation, ReadsNoWrongVoxelFromAFlippedBit) {
  const McHandle<HxRois> rois = makeSet(McVec3i(9, 8, 7));
  HxFileTypes::instance().save(rois, QString(), path("brain.seg.nrrd"));
  const std::string whole = read("brain.seg.nrrd");
  constexpr std::size_t gzipHeader = 10;
  std::size_t refusals = 0, bits = 0;
  for (std::size_t i = quarn::NrrdHeader::read(path("brain.seg.nrrd")).dataOffset + gzipHeader; i < whole.size(); ++i) {
    for (int bit = 0; bit < 8; ++bit, ++bits) {
      std::string flipped = whole;
      flipped[i] = static_cast<char>(flipped[i] ^ 1 << bit);
      const QString file = write("flipped.seg.nrrd", flipped);
      try {
        expectEqual(*loadSet(file), *rois);
      } catch (const McException& failure) {
        EXPECT_THAT(failure.what(), HasSubstr(file.toStdString() + ": ")) << i;
        ++refusals;
      }
      HxObjectPool::instance().clear();
    }
  }
  // A few bits only fill bytes up.
  EXPECT_GE(refusals, bits - 16);
}

TEST_F(Segmentation, SurvivesChangesAnywhere) {
  constexpr unsigned seed = 20;
  std::mt19937 random(seed);
  HxFileTypes::instance().save(makeSet(McVec3i(9, 8, 7)), QString(), path("brain.seg.nrrd"));
  const std::string whole = read("brain.seg.nrrd");
  const std::string pieces[] = {"-1",  "99999999999",       " ", "\n", ":=", ": ", "nan", "(", ")",
                                "\\n", std::string(1, '\0')};
  int loaded = 0, refused = 0;
  const int rounds = testRounds(2000);
  for (int round = 0; round < rounds; ++round) {
    std::string changed = whole;
    for (unsigned changes = 1 + random() % 3; changes > 0; --changes) {
      const std::size_t at = random() % changed.size();
      const std::string& piece = pieces[random() % std::size(pieces)];
      changed.replace(at, random() % 4, piece);
    }
    const QString file = write("changed.seg.nrrd", changed);
    try {
      HxFileTypes::instance().load(file);
      ++loaded;
    } catch (const McException& failure) {
      EXPECT_THAT(failure.what(), HasSubstr("changed.seg.nrrd")) << "round " << round;
      ++refused;
    }
    HxObjectPool::instance().clear();
  }
  EXPECT_GT(loaded, rounds / 100);
  EXPECT_GT(refused, rounds / 2);
}

TEST_F(Segmentation, RefusesMoreLayersThanThereCanBe) {
  std::string text = lines("uint8", "200000 1 1 1", "");
  text.replace(text.find("raw"), 3, "gzip");
  EXPECT_THAT(refusalOf(peerFile(text, gzipped(std::string(200000, '\0')))),
              HasSubstr("field \"sizes\": there are at most 65536 layers, got \"200000\""));
}

TEST_F(Segmentation, RefusesLabelsThatAreTooLarge) {
  const std::uint64_t labels[] = {std::uint64_t{1} << 63, 1};
  const std::string data(reinterpret_cast<const char*>(labels), sizeof labels);
  EXPECT_THAT(refusalOf(peerFile(lines("uint64", "2 1 1", ""), data)),
              HasSubstr("labels are at most 9223372036854775807, got \"9223372036854775808\""));
}

TEST_F(Segmentation, RefusesPackedDataThatCannotBeSoMuch) {
  std::string text = lines("uint8", "30000 30000 30000", "");
  text.replace(text.find("raw"), 3, "gzip");
  EXPECT_THAT(refusalOf(peerFile(text, gzipped("\1\1"))), HasSubstr("packed bytes cannot hold the 27000000000000"));
}

TEST_F(Segmentation, RefusesOptionsOfImages) {
  HxLoadOptions options;
  options.kind = "label";
  const QString file = peerFile(lines("uint8", "2 1 1", ""), "\1\1");
  EXPECT_THAT(refusal([&] { HxFileTypes::instance().load(file, options); }),
              HasSubstr("-kind scalar for its grid alone"));
  options.kind.clear();
  options.colors = "colors.lut";
  EXPECT_THAT(refusal([&] { HxFileTypes::instance().load(file, options); }),
              HasSubstr("-kind scalar for its grid alone"));
}

}  // namespace
