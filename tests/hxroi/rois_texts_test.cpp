#include <QCoreApplication>
#include <QTranslator>

#include "RoisTest.h"

/// Where the texts of refusals come from, and that what a user calls things is never taken for a place to fill.

namespace {

/// Answers each text with its context and the text.
class ContextTranslator : public QTranslator {
public:
  QString translate(const char* context, const char* text, const char*, int) const override {
    return QStringLiteral("[%1] ").arg(context) + text;
  }
  bool isEmpty() const override { return false; }
};

class RoisTexts : public RoisTest {
protected:
  RoisTexts() {
    QCoreApplication::installTranslator(&translator_);
    rois->setLabel("50%1%2");
  }
  ~RoisTexts() override { QCoreApplication::removeTranslator(&translator_); }

private:
  ContextTranslator translator_;
};

TEST_F(RoisTexts, OfTheSet) {
  EXPECT_EQ(refusalOf([&] { rois->dimensions(); }), "[HxRois] Can not query rois dimensions with no mask.");
  addMask("A");
  EXPECT_EQ(refusalOf([&] { rois->addRoi(makeMask("A")); }),
            "[HxRois] A roi named A has already been inserted inside this HxRois (50%1%2).");
  EXPECT_EQ(refusalOf([&] { rois->removeRoi("B"); }),
            "[HxRois] No roi named B has been inserted inside this HxRois (50%1%2).");
  EXPECT_EQ(refusalOf([&] { rois->notifyRoiRename("B", "C"); }),
            "[HxRois] No roi named B has been inserted inside this HxRois (50%1%2).");
  EXPECT_EQ(refusalOf([&] { rois->mergeMasks("B", {}); }), "[HxRois] 50%1%2 does not contains a mask named B.");
  EXPECT_EQ(refusalOf([&] { rois->substractMasks("A", {"B"}); }), "[HxRois] 50%1%2 does not contains a mask named B.");
  std::vector<Mask*> pieces;
  EXPECT_EQ(refusalOf([&] { rois->splitMask("B", std::back_inserter(pieces), nullptr); }),
            "[HxRois] 50%1%2 does not contains a mask named B.");
  EXPECT_EQ(refusalOf([&] {
              rois->addRoi(makeMask("B", {1, 2, 3}));
            }),
            "[HxRois] Mask B dimensions (1, 2, 3) does not match other rois dimensions (13, 11, 7).");
}

TEST_F(RoisTexts, OfAFullSet) {
  for (int i = 0; i < 100; ++i) addMask("m" + std::to_string(i));
  EXPECT_EQ(refusalOf([&] { rois->addRoi(makeMask("A")); }),
            "[Mask] There is already 100 masks inside 50%1%2. No more mask can be inserted.");
  std::vector<Mask*> pieces;
  EXPECT_EQ(refusalOf([&] { rois->splitMask("m0", std::back_inserter(pieces), nullptr); }),
            "[HxRois] 50%1%2% has already reached the maximum number of allowed masks (100%). Cannot split.");
}

TEST_F(RoisTexts, OfGroups) {
  const auto group = makeGroup("G", {"A"});
  EXPECT_EQ(refusalOf([&] { group->getMask("B"); }), "[Group] ROI B not found.");
  EXPECT_EQ(refusalOf([&] { group->removeMask("B"); }), "[Group] Mask not found.");
  EXPECT_EQ(refusalOf([&] { group->addMask(makeMask("A")); }), "[Group] Mask already inserted inside this group.");
}

TEST_F(RoisTexts, OfRois) {
  const auto mask = makeMask("A");
  EXPECT_EQ(refusalOf([&] { mask->setName("a b"); }),
            "[Roi] Invalid name: can only contains alpha numerics, underscores and dashes.");
  EXPECT_EQ(refusalOf([&] { mask->intProperty("%2", false); }),
            "[Roi] ROI does not have an integer property named %2.");
  EXPECT_EQ(refusalOf([&] { mask->notifyRemovedFromHxRois(rois); }),
            "[Roi] A has never been inserted inside HxRois 50%1%2.");
  mask->notifyAddedToHxRois(rois);
  EXPECT_EQ(refusalOf([&] { mask->notifyAddedToHxRois(rois); }),
            "[Roi] A has already been inserted inside HxRois 50%1%2.");
  mask->notifyRemovedFromHxRois(rois);
}

}  // namespace
