#include "LegacySetTest.h"
#include "hxroi/detail/SetFileLayout.h"
#include "hxroi/package.h"
#include "quarn/voxora/files/fileNames.h"

using ::testing::HasSubstr;

namespace {

using hxroi::setfile::maskFileName;

constexpr std::size_t kLongestWhole = 234;

/// What stands beside a file of the mask while it is written.
std::size_t longestFileName(const std::string& maskName) {
  return maskFileName(maskName).size() + std::string(".ldm~0123456789abcdef").size();
}

TEST(MaskFileName, IsTheNameWhereTheFilesCanHaveIt) {
  for (const std::size_t size : {std::size_t{1}, std::size_t{100}, kLongestWhole}) {
    const std::string name(size, 'a');
    EXPECT_EQ(maskFileName(name), name);
    EXPECT_LE(longestFileName(name), hxvoxora::maxNameBytes);
  }
}

TEST(MaskFileName, OfALongerOneIsItsBeginningAndAChecksumOfAll) {
  for (const std::size_t size : {kLongestWhole + 1, std::size_t{255}, std::size_t{10000}}) {
    const std::string name(size, 'a');
    EXPECT_EQ(longestFileName(name), hxvoxora::maxNameBytes);
    EXPECT_TRUE(hxvoxora::isPlainName(maskFileName(name)));
    EXPECT_EQ(maskFileName(name).substr(0, 217), name.substr(0, 217));
    EXPECT_EQ(maskFileName(name), maskFileName(name));
    EXPECT_NE(maskFileName(name), maskFileName(name + "b"));
    EXPECT_NE(maskFileName(name + "c"), maskFileName(name + "b"));
  }
}

/// A checksum of another kind, or of something else, would make files of a set strangers to those who know the format.
TEST(MaskFileName, IsTheOneOfTheFormat) {
  EXPECT_EQ(maskFileName(std::string(300, 'a')), std::string(217, 'a') + "~c1d17581d8eb7e21");
}

class LongNames : public LegacySetTest {
protected:
  LongNames() : first(std::string(300, 'x') + "1"), second(std::string(300, 'x') + "2") {
    fill(*addMask(first), {0, 0, 0}, {5, 5, 5});
    const auto group = makeGroup("G", {second});
    fill(*group->getMask(second), {3, 3, 3}, {2, 3, 4});
    rois->addRoi(group);
  }

  std::string first, second;
};

TEST_F(LongNames, AreSavedAndLoaded) {
  ASSERT_EQ(save(), 1) << console.consoleText();
  EXPECT_FALSE(rois->isModified());
  const auto loaded = load(file);
  EXPECT_EQ(count(*loaded->getMask(first)), 125U);
  EXPECT_EQ(count(*loaded->getMask(second)), 24U);
}

TEST_F(LongNames, AreSavedOverWhatWasLoaded) {
  ASSERT_EQ(save(), 1) << console.consoleText();
  rois = load(file);
  const auto before = contentOf(masks / (maskFileName(second) + ".dat"));
  fill(*rois->getMask(first), {6, 6, 6}, {1, 1, 1});
  ASSERT_EQ(save(), 1) << console.consoleText();
  EXPECT_EQ(count(*load(file)->getMask(first)), 126U);
  EXPECT_EQ(contentOf(masks / (maskFileName(second) + ".dat")), before);
}

TEST_F(LongNames, MayBeExchanged) {
  ASSERT_EQ(save(), 1) << console.consoleText();
  rois = load(file);
  Mask* a = rois->getMask(first);
  Mask* b = rois->getMask(second);
  a->setName("between");
  b->setName(first);
  a->setName(second);
  ASSERT_EQ(save(), 1) << console.consoleText();
  const auto loaded = load(file);
  EXPECT_EQ(count(*loaded->getMask(first)), 24U);
  EXPECT_EQ(count(*loaded->getMask(second)), 125U);
}

TEST_F(LongNames, AreVerified) {
  ASSERT_EQ(save(), 1) << console.consoleText();
  const auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
  int sound = 0;
  hxroi_verifyRois(mesh.get(), file.c_str(), [&](const QString& finding, bool isSound) {
    EXPECT_TRUE(isSound) << finding.toStdString();
    ++sound;
  });
  EXPECT_EQ(sound, 2);
}

TEST_F(LongNames, AreWrittenByHandToo) {
  fs::create_directory(masks);
  const std::unique_ptr<HxParamBundle> bundle(rois->saveMask(masks.string(), rois->getMask(first)));
  const McHandle<Mask> loaded(rois->loadMask(masks, bundle.get()));
  EXPECT_EQ(loaded->name(), first);
  EXPECT_EQ(count(*loaded), 125U);
}

/// Files whose names were good for the older layout.
TEST_F(LongNames, OfFilesOfTheOlderLayoutAreUpgraded) {
  const std::string name(251, 'y');
  rois->removeRoi("G");
  rois->getMask(first)->setName("A");
  ASSERT_EQ(save(), 1);
  const auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
  mesh->parameters.getBundle("__rois")->getBundle("A")->set("__filename", name);
  ASSERT_EQ(mesh->write(file.c_str(), QuarnMesh::TEXT, nullptr, true, false), 1);
  makeLegacy(*rois->getMask("A"), masks / name);
  const ReplacingScope replacing;
  EXPECT_EQ(count(*open(file)->getMask("A")), 125U);
  EXPECT_EQ(count(*open(file)->getMask("A")), 125U);
}

}  // namespace
