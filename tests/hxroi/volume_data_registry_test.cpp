#include <stdexcept>

#include "RoisTest.h"
#include "hxroi/HxRoiToHxVolumeDataRegistry.h"

using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using Registry = HxRoiToHxVolumeDataRegistry;

namespace {

class VolumeDataRegistry : public RoisTest {
protected:
  std::vector<std::string> labels() {
    std::vector<std::string> labels;
    for (const auto& entry : Registry::getBimapMaskVolumeData(rois).left)
      labels.push_back(entry.second->getLabel().toStdString());
    return labels;
  }

  McHandle<HxVolumeData> dataOf(const Mask* mask) { return Registry::getBimapMaskVolumeData(rois).left.at(mask); }

  std::vector<std::string> temporaryFiles() const {
    std::vector<std::string> names;
    for (const auto& entry : boost::filesystem::recursive_directory_iterator(folder / "temporary"))
      if (boost::filesystem::is_regular_file(entry.path()) && entry.path().extension() != ".lock")
        names.push_back(entry.path().filename().string());
    return names;
  }
};

TEST_F(VolumeDataRegistry, FollowsMasksAndMembers) {
  EXPECT_THAT(labels(), IsEmpty());
  Mask* mask = addMask("Bone");
  EXPECT_THAT(labels(), UnorderedElementsAre("Bone"));
  EXPECT_EQ(dataOf(mask)->getVolumeNode(), mask->volumeMask());
  rois->addRoi(makeGroup("Group", {"One", "Two"}));
  EXPECT_THAT(labels(), UnorderedElementsAre("Bone", "One", "Two"));
  rois->removeRoi("Group");
  EXPECT_THAT(labels(), UnorderedElementsAre("Bone"));
}

TEST_F(VolumeDataRegistry, FollowsNamesAndKeepsItsObjects) {
  Mask* mask = addMask("Bone");
  const McHandle<HxVolumeData> data = dataOf(mask);
  mask->setName("Skull");
  EXPECT_THAT(labels(), UnorderedElementsAre("Skull"));
  addMask("Air");
  EXPECT_EQ(dataOf(mask), data);
  EXPECT_EQ(Registry::getBimapMaskVolumeData(rois).right.at(data), mask);
}

TEST_F(VolumeDataRegistry, MayBeUpdatedAtAnyTime) {
  Mask* mask = addMask("Bone");
  const McHandle<HxVolumeData> data = dataOf(mask);
  Registry::registerHxRois(rois);
  Registry::updateHxRois(rois);
  EXPECT_EQ(dataOf(mask), data);
  EXPECT_EQ(labels().size(), 1U);
}

TEST_F(VolumeDataRegistry, FindsNothingThatIsNotThere) {
  const auto mask = makeMask("Elsewhere");
  const auto lookUp = [&] { dataOf(mask); };
  try {
    lookUp();
    FAIL() << "it was found";
  } catch (const std::out_of_range& failure) {
    EXPECT_STREQ(failure.what(), "bimap<>: invalid key");
  }
  const McHandle<HxVolumeData> stranger(new HxVolumeData(nullptr, "stranger"));
  EXPECT_THROW(Registry::getBimapMaskVolumeData(rois).right.at(stranger), std::out_of_range);
}

TEST_F(VolumeDataRegistry, GivesAnUnknownSetAnEmptyList) {
  const McHandle<HxRois> other(new HxRois);
  Registry::unregisterHxRois(other);
  EXPECT_TRUE(Registry::getBimapMaskVolumeData(other).empty());
}

TEST_F(VolumeDataRegistry, LetsGoOfAMaskBeforeItDies) {
  addMask("Bone");
  fill(*rois->getMask("Bone"), {0, 0, 0}, {3, 3, 3});
  rois->getMask("Bone")->flush(0);
  const McHandle<HxVolumeData> data = dataOf(rois->getMask("Bone"));
  EXPECT_THAT(temporaryFiles(), ::testing::Not(IsEmpty()));
  rois->removeRoi("Bone");
  EXPECT_EQ(data->getVolumeNode(), nullptr);
  EXPECT_THAT(labels(), IsEmpty());
  EXPECT_THAT(temporaryFiles(), IsEmpty()) << "the files of a mask go with it";
}

TEST_F(VolumeDataRegistry, LetsGoOfASetThatDies) {
  addMask("Bone");
  fill(*rois->getMask("Bone"), {0, 0, 0}, {3, 3, 3});
  rois->getMask("Bone")->flush(0);
  const McHandle<HxVolumeData> data = dataOf(rois->getMask("Bone"));
  rois.reset();
  EXPECT_EQ(data->getVolumeNode(), nullptr);
  EXPECT_THAT(temporaryFiles(), IsEmpty());
  rois = new HxRois;
  EXPECT_THAT(labels(), IsEmpty()) << "a set at the address of a dead one is a new one";
}

TEST_F(VolumeDataRegistry, SharesAMaskOfTwoSets) {
  const McHandle<HxRois> other(new HxRois);
  Mask* mask = addMask("Bone");
  other->addRoi(mask);
  rois->removeRoi("Bone");
  EXPECT_EQ(Registry::getBimapMaskVolumeData(other).left.at(mask)->getVolumeNode(), mask->volumeMask());
  EXPECT_THAT(labels(), IsEmpty());
}

}  // namespace
