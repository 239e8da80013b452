#include <QDirIterator>
#include <QTemporaryDir>
#include <algorithm>
#include <gmock/gmock.h>

#include "hxroi/HxRois.h"
#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxPreferences.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/app/HxSettingsMgr.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "roitools/HxRoiSplit.h"
#include "roitools/ShownProgress.h"
#include "tests/support/RecordingProgress.h"
#include "tests/voxora/RandomSource.h"

namespace {

using hxroi::details::Mask;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

const McVec3i kGrid(70, 40, 40);

std::uint64_t voxelsOf(const Mask& mask) {
  return mask.volumeMask()->countSetVoxels({{0, 0, 0}, {kGrid.x - 1, kGrid.y - 1, kGrid.z - 1}});
}

class RoiSplit : public ::testing::Test {
protected:
  RoiSplit() {
    HxApplication::instance()->settings()->getPreferences()->setTemporaryDirectory(folder_.path());
    HxRois::initClass();
    HxRoiSplit::initClass();
    rois_ = new HxRois;
    rois_->setLabel("Rois");
    module_ = new HxRoiSplit;
    module_->setLabel("Split");
    EXPECT_TRUE(module_->dataConnection.connect(rois_.get()));
  }

  Mask* addMask(const char* name) {
    auto* mask = new Mask(name, kGrid, false, McColor(1, 0.5F, 0), nullptr);
    rois_->addRoi(mask);
    return mask;
  }

  static void draw(Mask& mask, const McVec3i& origin, const McVec3i& size) {
    mask.getBox(origin, size, hxroi::AccessMode(2)) = true;
  }

  /// Components of 1, 8, 27, 64 and 8 voxels; the last two hang together over an edge.
  Mask* addPieces() {
    Mask* mask = addMask("Pieces");
    draw(*mask, McVec3i(0, 0, 0), McVec3i(1, 1, 1));
    draw(*mask, McVec3i(10, 0, 0), McVec3i(2, 2, 2));
    draw(*mask, McVec3i(20, 0, 0), McVec3i(3, 3, 3));
    draw(*mask, McVec3i(60, 10, 10), McVec3i(4, 4, 4));
    draw(*mask, McVec3i(64, 14, 10), McVec3i(2, 2, 2));
    return mask;
  }

  HxRois* run() {
    module_->portDoIt.hit(0);
    module_->fire();
    return dynamic_cast<HxRois*>(module_->resultObject(0));
  }

  std::string failure() {
    try {
      run();
    } catch (const McException& exception) {
      return exception.what();
    }
    return "no failure";
  }

  static std::vector<std::string> contentOf(const HxRois* rois) {
    std::vector<std::string> content;
    for (const Mask* mask : rois->masks()) content.push_back(mask->name() + " " + std::to_string(voxelsOf(*mask)));
    return content;
  }

  QTemporaryDir folder_;
  HxRecordingSink messages_;
  McHandle<HxRois> rois_;
  McHandle<HxRoiSplit> module_;
};

TEST_F(RoiSplit, PutTheLargestFirst) {
  addPieces();
  const HxRois* pieces = run();
  ASSERT_TRUE(pieces);
  EXPECT_EQ(pieces->getLabel(), "Rois-components");
  EXPECT_THAT(contentOf(pieces), ElementsAre("Pieces-1 64", "Pieces-2 27", "Pieces-3 8", "Pieces-4 8", "Pieces-5 1"));
  EXPECT_EQ(pieces->getMask("Pieces-3")->cachedBoundingBox(), McBox3i(10, 11, 0, 1, 0, 1));
  EXPECT_EQ(voxelsOf(*rois_->getMask("Pieces")), 108u);
}

TEST_F(RoiSplit, FollowEdgesAndCornersWhenTold) {
  addPieces();
  module_->portNeighbours.setValue(HxRoiSplit::All);
  EXPECT_THAT(contentOf(run()), ElementsAre("Pieces-1 72", "Pieces-2 27", "Pieces-3 8", "Pieces-4 1"));
}

TEST_F(RoiSplit, KeepOnlyTheLargestAndTheRestApart) {
  addPieces();
  module_->portLargest.setValue(2);
  EXPECT_THAT(contentOf(run()), ElementsAre("Pieces-1 64", "Pieces-2 27"));
  module_->portRest.setValue(HxRoiSplit::OneMask);
  EXPECT_THAT(contentOf(run()), ElementsAre("Pieces-1 64", "Pieces-2 27", "Pieces-rest 17"));
}

TEST_F(RoiSplit, LeaveOutWhatIsTooSmall) {
  addPieces();
  module_->portMinimumSize.setValue(9);
  module_->portRest.setValue(HxRoiSplit::OneMask);
  EXPECT_THAT(contentOf(run()), ElementsAre("Pieces-1 64", "Pieces-2 27", "Pieces-rest 17"));
  module_->portMinimumSize.setValue(65);
  EXPECT_THAT(contentOf(run()), ElementsAre("Pieces-rest 108"));
  module_->portMinimumSize.setValue(1);
  EXPECT_EQ(contentOf(run()).size(), 5u) << "there is no rest";
}

TEST_F(RoiSplit, TellCountsAndSizesOnTheConsole) {
  addPieces();
  module_->portLargest.setValue(2);
  run();
  const std::string text = messages_.consoleText();
  EXPECT_THAT(text, HasSubstr("Pieces: 5 components, 108 voxels."));
  EXPECT_THAT(text, HasSubstr("Kept: 2 components, 91 voxels. Left out: 3 components, 17 voxels."));
  EXPECT_THAT(text, HasSubstr("10 - 99"));
}

TEST_F(RoiSplit, MakeASetOfNothingFromAnEmptyMask) {
  addMask("Empty");
  module_->portRest.setValue(HxRoiSplit::OneMask);
  EXPECT_THAT(contentOf(run()), ElementsAre());
  EXPECT_THAT(messages_.consoleText(), HasSubstr("Empty: 0 components, 0 voxels."));
}

TEST_F(RoiSplit, PieceASetAgainGivesTheMaskBack) {
  RandomSource random;
  Mask* mask = addMask("Noise");
  for (int i = 0; i < 60; ++i) {
    const McVec3i origin(random.between(0, 60), random.between(0, 30), random.between(0, 30));
    draw(*mask, origin, McVec3i(random.between(1, 9), random.between(1, 9), random.between(1, 9)));
  }
  module_->portLargest.setValue(4);
  module_->portRest.setValue(HxRoiSplit::OneMask);
  Mask sum("Sum", kGrid, false, McColor(), nullptr);
  std::uint64_t voxels = 0;
  for (const Mask* piece : run()->masks()) {
    sum |= *piece;
    voxels += voxelsOf(*piece);
  }
  EXPECT_EQ(voxels, voxelsOf(*mask)) << "pieces overlap";
  sum ^= *mask;
  EXPECT_TRUE(sum.empty());
}

TEST_F(RoiSplit, FillTheSameSetAgainAndTakeTheFieldAlong) {
  addPieces();
  const HxRois* first = run();
  const McHandle<HxUniformScalarField3> image(new HxUniformScalarField3(McDim3l(kGrid), McPrimType::Uint8));
  ASSERT_TRUE(rois_->portData.connect(image.get()));
  module_->portLargest.setValue(1);
  EXPECT_EQ(run(), first);
  EXPECT_THAT(contentOf(first), ElementsAre("Pieces-1 64"));
  EXPECT_EQ(first->portData.source(), image.get());
}

TEST_F(RoiSplit, NeedAName) {
  EXPECT_EQ(failure(), "Split: \"mask\" must name one of the 0 masks of Rois.");
  addPieces();
  addMask("Other");
  EXPECT_EQ(failure(), "Split: \"mask\" must name one of the 2 masks of Rois.");
  module_->portMask.setValue("pieces");
  EXPECT_EQ(failure(), "Split: there is no mask \"pieces\" in Rois.");
  module_->portMask.setValue("Pieces");
  EXPECT_EQ(contentOf(run()).size(), 5u);
}

TEST_F(RoiSplit, NeedASet) {
  module_->dataConnection.disconnect();
  EXPECT_EQ(failure(), "Split: no ROI set is connected to \"data\".");
}

TEST_F(RoiSplit, DoNothingUnlessHit) {
  addPieces();
  module_->fire();
  EXPECT_FALSE(module_->resultObject(0));
}

TEST_F(RoiSplit, KeepTheFormerResultWhenInterrupted) {
  Mask* mask = addPieces();
  const HxRois* pieces = run();
  const std::vector<std::string> before = contentOf(pieces);
  draw(*mask, McVec3i(0, 30, 30), McVec3i(5, 5, 5));
  RecordingProgress progress;
  progress.interruptAfter = 0;
  const ProgressScope scope(progress);
  EXPECT_EQ(failure(), "The split was interrupted.");
  EXPECT_EQ(progress.calls.back(), "stop");
  EXPECT_EQ(contentOf(pieces), before);
  EXPECT_EQ(module_->resultObject(0), pieces);
}

/// Files of masks in the temporary storage.
std::uint64_t filesBelow(const QString& folder) {
  std::uint64_t count = 0;
  for (QDirIterator next(folder, QDir::Files, QDirIterator::Subdirectories); next.hasNext();)
    if (!next.next().endsWith(".lock")) ++count;
  return count;
}

TEST_F(RoiSplit, LeaveNothingBehindWheneverInterrupted) {
  RandomSource random;
  Mask* mask = addMask("Noise");
  for (int i = 0; i < 300; ++i) {
    const McVec3i origin(random.between(0, 66), random.between(0, 36), random.between(0, 36));
    draw(*mask, origin, McVec3i(random.between(1, 3), random.between(1, 3), random.between(1, 3)));
  }
  module_->portRest.setValue(HxRoiSplit::OneMask);
  module_->portLargest.setValue(20);
  const HxRois* pieces = run();
  const std::vector<std::string> before = contentOf(pieces);
  const std::uint64_t files = filesBelow(folder_.path());
  module_->portLargest.setValue(30);
  int interrupted = 0;
  for (int question = 0;; ++question) {
    RecordingProgress progress;
    progress.interruptAfter = question;
    const ProgressScope scope(progress);
    const roitools::ShownProgress::EagerScope eager;
    const std::string text = failure();
    EXPECT_EQ(progress.calls.back(), "stop");
    if (text == "no failure") break;
    ++interrupted;
    ASSERT_EQ(text, "The split was interrupted.");
    ASSERT_EQ(contentOf(pieces), before) << "after question " << question;
    ASSERT_EQ(filesBelow(folder_.path()), files) << "after question " << question;
  }
  EXPECT_GT(interrupted, 30) << "there is a question for each mask at least";
  EXPECT_EQ(contentOf(pieces).size(), 31u);
}

TEST_F(RoiSplit, KeepAtMostAsManyAsASetHolds) {
  Mask* mask = addMask("Many");
  for (int i = 0; i < 150; ++i) draw(*mask, McVec3i(i % 30 * 2, i / 30 * 2, 0), McVec3i(1, 1, 1));
  module_->portRest.setValue(HxRoiSplit::OneMask);
  const HxRois* pieces = run();
  EXPECT_EQ(pieces->getNumberOfMasks(), HxRois::kMaximumNumberOfMasks);
  EXPECT_EQ(voxelsOf(*pieces->getMask("Many-rest")), 51u);
}

}  // namespace
