#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/fields/HxVolumeData.h"
#include "tests/hxroi/MaskTest.h"

namespace {

using MaskLife = MaskTest;

/// A node in memory with tiles of one's own size.
hxvoxora::Ref<SoVolumeMask> nodeWithTiles(const SbVec3i32& dimensions, const SbVec3i32& tiles) {
  auto node = hxvoxora::makeRef<SoVolumeMask>();
  node->initializeInMemory(dimensions, tiles);
  return node;
}

McHandle<hxroi::details::Mask> maskWithTiles(const SbVec3i32& tiles) {
  const auto node = nodeWithTiles({100, 100, 100}, tiles);
  return new hxroi::details::Mask("tiled", node.get(), McColor(), nullptr);
}

const char* const kWrongTiles =
    "Mask is incompatible with data (different tile size).\n"
    "You have to set \"Preferences->LDA->Tile Size\" parameter to 64.";

}  // namespace

TEST_F(MaskLife, NewMaskReadsAsItsInitialValue) {
  EXPECT_EQ(count(*makeMask({13, 11, 7}, false)), 0U);
  EXPECT_EQ(count(*makeMask({13, 11, 7}, true)), 13U * 11 * 7);
}

TEST_F(MaskLife, NewMaskHasAnEmptyExactBoxWhateverItsValue) {
  const auto full = makeMask({13, 11, 7}, true);
  EXPECT_EQ(full->cachedBoundingBox(), hxroi::emptyBox<int>());
  EXPECT_TRUE(full->empty());
  full->touch(8);
  EXPECT_EQ(full->getBoundingBox(), McBox3i(0, 12, 0, 10, 0, 6));
}

TEST_F(MaskLife, NewMaskHasNoFileAndNoEdits) {
  const auto mask = makeMask({13, 11, 7}, true);
  EXPECT_FALSE(mask->volumeMask()->hasUnsavedEdits());
  EXPECT_EQ(mask->volumeMask()->fileName(), "");
  EXPECT_TRUE(mask->ownsTemporaryFiles());
  EXPECT_TRUE(temporaryFiles().empty());
}

TEST_F(MaskLife, NodeCarriesTheName) {
  EXPECT_EQ(makeMask({4, 4, 4}, false, "3_a-b")->volumeMask()->getName(), SbName("3_a-b"));
}

TEST_F(MaskLife, CopyHasVoxelsBoxesAndFilesOfItsOwn) {
  const auto mask = makeMask({13, 11, 7}, McBox3i(2, 4, 3, 5, 1, 2));
  mask->setBoundingBox({2, 4, 3, 5, 1, 2});
  const McHandle<Mask> copy = new Mask("copy", *mask);
  EXPECT_EQ(copy->cachedBoundingBox(), McBox3i(2, 4, 3, 5, 1, 2));
  EXPECT_EQ(bitsOf(*copy), bitsOf(*mask));
  EXPECT_NE(copy->temporaryPrefix(), mask->temporaryPrefix());
  fill(*copy, {0, 12, 0, 10, 0, 6});
  EXPECT_EQ(count(*mask), 18U);
}

TEST_F(MaskLife, MaskCreatedFullCopiesAsAnEmptyOne) {
  const auto full = makeMask({13, 11, 7}, true);
  const McHandle<Mask> copy = new Mask("copy", *full);
  EXPECT_EQ(count(*copy), 0U);
}

TEST_F(MaskLife, ValueAssignmentSetsEveryVoxelAndTheExactBox) {
  const auto mask = makeMask({13, 11, 7}, McBox3i(2, 4, 3, 5, 1, 2));
  mask->setApproximatedBoundingBox({0, 9, 0, 9, 0, 6});
  *mask = true;
  EXPECT_EQ(count(*mask), 13U * 11 * 7);
  EXPECT_EQ(mask->cachedBoundingBox(), McBox3i(0, 12, 0, 10, 0, 6));
  EXPECT_FALSE(mask->cachedApproximatedBoundingBox());
  *mask = false;
  EXPECT_EQ(count(*mask), 0U);
  EXPECT_EQ(mask->cachedBoundingBox(), hxroi::emptyBox<int>());
}

TEST_F(MaskLife, AssignmentTakesVoxelsAndKeepsTheRest) {
  const auto source = makeMask({13, 11, 7}, McBox3i(2, 4, 3, 5, 1, 2), "source");
  source->setColor(McColor(1, 0, 0));
  const auto mask = makeMask();
  mask->setProperty("side", "left");
  const std::string id = mask->id();
  *mask = *source;
  EXPECT_EQ(bitsOf(*mask), bitsOf(*source));
  EXPECT_EQ(mask->name(), "mask");
  EXPECT_EQ(mask->id(), id);
  EXPECT_EQ(mask->color(false), McColor(0.5F, 0.25F, 1));
  EXPECT_EQ(mask->stringProperty("side", false), "left");
}

TEST_F(MaskLife, AssignmentOfAnotherSizeChangesTheDimensions) {
  const auto source = makeMask({40, 30, 20}, McBox3i(33, 39, 3, 25, 1, 19), "source");
  for (const bool isSaved : {false, true}) {
    if (isSaved) source->flush(0);
    const auto mask = makeMask({13, 11, 7}, McBox3i(0, 12, 0, 10, 0, 6));
    mask->flush(0);
    *mask = *source;
    EXPECT_EQ(mask->dimensions(), McVec3i(40, 30, 20));
    EXPECT_EQ(bitsOf(*mask), bitsOf(*source));
    mask->writeToFile(folder / "resized");
    const McHandle<Mask> loaded = Mask::loadFromFile("loaded", folder / "resized");
    EXPECT_EQ(bitsOf(*loaded), bitsOf(*source));
  }
}

TEST_F(MaskLife, AssignmentOfAnEmptyMaskOfAnotherSizeGivesAnEmptyMask) {
  const auto mask = makeMask({13, 11, 7}, true);
  *mask = *makeMask({40, 30, 20});
  EXPECT_EQ(mask->dimensions(), McVec3i(40, 30, 20));
  EXPECT_EQ(count(*mask), 0U);
}

TEST_F(MaskLife, AssignmentOfAnotherSizeInsideASetIsRefused) {
  const McHandle<ListeningRois> rois = new ListeningRois;
  const auto mask = makeMask({13, 11, 7}, McBox3i(2, 4, 3, 5, 1, 2));
  rois->addRoi(mask);
  const auto larger = makeMask({14, 11, 7}, McBox3i(0, 1, 0, 1, 0, 1), "larger");
  EXPECT_EQ(refusal([&] { *mask = *larger; }),
            "Cannot copy content of new mask inside HxRois already owned mask (size differs).");
  EXPECT_EQ(mask->dimensions(), McVec3i(13, 11, 7));
  EXPECT_EQ(count(*mask), 18U);
}

TEST_F(MaskLife, AssignmentToItselfChangesNothing) {
  const auto mask = makeMask({13, 11, 7}, McBox3i(2, 4, 3, 5, 1, 2));
  *mask = std::as_const(*mask);
  EXPECT_EQ(count(*mask), 18U);
}

TEST_F(MaskLife, ContentTouchForgetsBothBoxes) {
  const auto mask = makeMask();
  mask->setBoundingBox({1, 2, 1, 2, 1, 2});
  mask->touch(16);
  EXPECT_TRUE(mask->cachedBoundingBox());
  mask->touch(8);
  EXPECT_FALSE(mask->cachedBoundingBox());
  mask->setApproximatedBoundingBox({1, 2, 1, 2, 1, 2});
  mask->touch(64, true);
  EXPECT_FALSE(mask->cachedApproximatedBoundingBox());
}

TEST_F(MaskLife, PlainTouchGoesThroughTheOtherOne) {
  class Recorder : public Mask {
  public:
    using Mask::Mask;
    using Mask::touch;
    void touch(int flags, bool contentChanged) override {
      calls.emplace_back(flags, contentChanged);
      Mask::touch(flags, contentChanged);
    }
    std::vector<std::pair<int, bool>> calls;
  };
  const McHandle<Recorder> recorder = new Recorder("r", McVec3i(4, 4, 4), false, McColor(), nullptr);
  recorder->calls.clear();
  recorder->touch(16);
  recorder->touch(24);
  EXPECT_EQ(recorder->calls, (std::vector<std::pair<int, bool>>{{16, false}, {24, true}}));
}

TEST_F(MaskLife, DestructionRemovesOwnedFiles) {
  auto mask = makeMask();
  mask->flush(1);
  EXPECT_TRUE(exists(mask->temporaryPrefix() + ".ldm"));
  mask.reset();
  EXPECT_TRUE(temporaryFiles().empty());
}

TEST_F(MaskLife, DestructionLeavesFilesOfANodeThatSomebodyElseHolds) {
  auto mask = makeMask();
  mask->flush(1);
  const std::string prefix = mask->temporaryPrefix();
  const hxvoxora::Ref<SoVolumeMask> node(mask->volumeMask());
  mask.reset();
  EXPECT_TRUE(exists(prefix + ".ldm"));
  EXPECT_TRUE(exists(prefix + ".dat"));
}

TEST_F(MaskLife, DestructionOfABorrowedMaskLeavesTheUsersFiles) {
  auto source = makeMask({13, 11, 7}, McBox3i(2, 4, 3, 5, 1, 2));
  auto mask = borrowed(*source);
  source.reset();
  const auto before = hashesOf(folder);
  mask.reset();
  EXPECT_EQ(hashesOf(folder), before);
  EXPECT_EQ(before.size(), 3U);
}

TEST_F(MaskLife, DestructionNeverThrows) {
  auto mask = makeMask();
  mask->flush(1);
  boost::filesystem::remove(mask->temporaryPrefix() + ".dat");
  boost::filesystem::create_directories(path(mask->temporaryPrefix() + ".dat") / "in-the-way");
  mask.reset();
  EXPECT_THAT(console.consoleText(), ::testing::HasSubstr("Temporary files of a mask were left"));
  EXPECT_EQ(temporaryFiles().size(), 1U);
}

TEST_F(MaskLife, MemberwiseCopySharesTheNodeWithoutAReference) {
  auto mask = makeMask({13, 11, 7}, McBox3i(2, 4, 3, 5, 1, 2));
  mask->flush(0);
  mask->setApproximatedBoundingBox({0, 9, 0, 9, 0, 6});
  {
    const Mask copy(*mask);
    EXPECT_EQ(copy.volumeMask(), mask->volumeMask());
    EXPECT_EQ(mask->volumeMask()->referenceCount(), 1);
    EXPECT_EQ(copy.cachedApproximatedBoundingBox(), McBox3i(0, 9, 0, 9, 0, 6));
    EXPECT_EQ(copy.id(), mask->id());
    EXPECT_EQ(copy.refCount(), 0);
  }
  EXPECT_EQ(count(*mask), 18U);
  EXPECT_TRUE(exists(mask->temporaryPrefix() + ".ldm"));
}

TEST_F(MaskLife, MemberwiseCopyMayEndAfterTheOriginal) {
  auto mask = makeMask();
  const auto copy = std::make_unique<Mask>(std::as_const(*mask));
  mask.reset();
}

TEST_F(MaskLife, RefusedConstructionLeavesNothing) {
  EXPECT_THROW(makeMask({0, 4, 4}), McException);
  EXPECT_THROW(makeMask({4, 4, -1}), McException);
  EXPECT_TRUE(temporaryFiles().empty());
}

TEST_F(MaskLife, MasksOfDifferentGridsAreIncompatible) {
  const auto mask = makeMask();
  for (const McVec3i n : {McVec3i(14, 11, 7), McVec3i(13, 10, 7), McVec3i(13, 11, 8)}) {
    EXPECT_EQ(refusal([&] { mask->ensureCompatibleWith(*makeMask(n)); }),
              "Masks are incompatible (different dimension)");
  }
  EXPECT_NO_THROW(mask->ensureCompatibleWith(*makeMask()));
}

TEST_F(MaskLife, MasksOfDifferentTilesAlongXAreIncompatible) {
  const auto tiles64 = maskWithTiles({64, 64, 64});
  const auto tiles32 = maskWithTiles({32, 64, 64});
  EXPECT_EQ(refusal([&] { tiles64->ensureCompatibleWith(*tiles32); }), kWrongTiles);
  EXPECT_THAT(refusal([&] { tiles32->ensureCompatibleWith(*tiles64); }), ::testing::EndsWith("parameter to 32."));
}

TEST_F(MaskLife, TilesAlongYAndZDoNotMatter) {
  const auto cubes = maskWithTiles({64, 64, 64});
  EXPECT_NO_THROW(cubes->ensureCompatibleWith(*maskWithTiles({64, 32, 64})));
  EXPECT_NO_THROW(cubes->ensureCompatibleWith(*maskWithTiles({64, 64, 16})));
}

TEST_F(MaskLife, FieldOfAnotherGridIsIncompatible) {
  const auto mask = makeMask();
  const McHandle<HxUniformScalarField3> same = new HxUniformScalarField3(McDim3l(13, 11, 7), McPrimType::Uint8);
  const McHandle<HxUniformScalarField3> other = new HxUniformScalarField3(McDim3l(13, 11, 8), McPrimType::Uint8);
  EXPECT_NO_THROW(mask->ensureCompatibleWith(*same));
  EXPECT_EQ(refusal([&] { mask->ensureCompatibleWith(*other); }),
            "Mask is incompatible with data (different dimension)");
}

TEST_F(MaskLife, TilesOfAFieldWithVolumeDataMatterAlongX) {
  const auto mask = maskWithTiles({64, 64, 64});
  const auto fitting = nodeWithTiles({100, 100, 100}, {64, 32, 32});
  const auto wrong = nodeWithTiles({100, 100, 100}, {32, 64, 64});
  const McHandle<HxUniformScalarField3> field = new HxUniformScalarField3(McDim3l(100, 100, 100), McPrimType::Uint8);
  auto* volume = new HxVolumeData(field.get(), fitting.get());
  EXPECT_NO_THROW(mask->ensureCompatibleWith(*field));
  volume->setVolumeNode(wrong.get());
  EXPECT_EQ(refusal([&] { mask->ensureCompatibleWith(*field); }), kWrongTiles);
}
