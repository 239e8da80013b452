#include "RoisTest.h"

namespace {

using RoisNames = RoisTest;

TEST_F(RoisNames, UniqueNamesIgnoreCase) {
  addMask("Mask1");
  EXPECT_FALSE(rois->isNameUnique("Mask1"));
  EXPECT_FALSE(rois->isNameUnique("mASK1"));
  EXPECT_TRUE(rois->isNameUnique("Mask"));
  EXPECT_TRUE(rois->isNameUnique(""));
}

TEST_F(RoisNames, MembersOfGroupsTakeNames) {
  rois->addRoi(makeGroup("G", {"inner"}));
  EXPECT_FALSE(rois->isNameUnique("Inner"));
  EXPECT_EQ(rois->getUniqueName("inner"), "inner0");
}

TEST_F(RoisNames, AFreeNameStaysAsItIs) {
  addMask("Roi1");
  EXPECT_EQ(rois->getUniqueName("Roi12"), "Roi12");
}

TEST_F(RoisNames, ATakenNameGetsTheFirstFreeNumberFromZero) {
  addMask("Roi12");
  EXPECT_EQ(rois->getUniqueName("Roi12"), "Roi0");
  addMask("Roi0");
  EXPECT_EQ(rois->getUniqueName("Roi12"), "Roi1");
  addMask("Roi1");
  EXPECT_EQ(rois->getUniqueName("Roi12"), "Roi2");
}

TEST_F(RoisNames, TheStemIsThatOfTheAskedName) {
  addMask("Mask1");
  EXPECT_EQ(rois->getUniqueName("mask1"), "mask0");
  addMask("MASK0");
  EXPECT_EQ(rois->getUniqueName("mask1"), "mask2");
}

TEST_F(RoisNames, ANameOfDigitsHasAnEmptyStem) {
  addMask("2024");
  EXPECT_EQ(rois->getUniqueName("2024"), "0");
}

TEST_F(RoisNames, DigitsInsideTheNameStay) {
  addMask("T1w-7");
  EXPECT_EQ(rois->getUniqueName("T1w-7"), "T1w-0");
}

}  // namespace
