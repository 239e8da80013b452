#include <functional>

#include "tests/hxroi/MaskTest.h"
#include "tests/hxroi/QuotaFileSystem.h"

namespace {

class MaskAlgebra : public MaskTest {
protected:
  static constexpr McVec3i kGrid{13, 11, 7};

  McHandle<Mask> exact(const McBox3i& box, const std::string& name = "mask") {
    auto mask = makeMask(kGrid, box, name);
    mask->setBoundingBox(box);
    return mask;
  }

  /// A mask in its files, without pending edits.
  McHandle<Mask> saved(const McBox3i& box) {
    auto mask = exact(box, "saved");
    mask->flush(0);
    return mask;
  }
};

constexpr McBox3i kLeft(1, 4, 2, 5, 0, 3);
constexpr McBox3i kRight(3, 8, 4, 9, 2, 6);
constexpr McBox3i kBoth(3, 4, 4, 5, 2, 3);
constexpr McBox3i kUnion(1, 8, 2, 9, 0, 6);
constexpr McBox3i kFar(11, 12, 10, 10, 6, 6);
constexpr McBox3i kWhole(0, 12, 0, 10, 0, 6);

std::uint64_t volume(const McBox3i& box) {
  const McVec3i n = hxroi::sizeOf(box);
  return static_cast<std::uint64_t>(n.x) * static_cast<std::uint64_t>(n.y) * static_cast<std::uint64_t>(n.z);
}

}  // namespace

TEST_F(MaskAlgebra, SubtractionLeavesAnApproximatedBox) {
  const auto a = exact(kLeft);
  *a -= *exact(kRight);
  EXPECT_EQ(count(*a), volume(kLeft) - volume(kBoth));
  EXPECT_EQ(a->cachedApproximatedBoundingBox(), kLeft);
  EXPECT_FALSE(a->cachedBoundingBox());
}

TEST_F(MaskAlgebra, SubtractionWithoutOverlapChangesNothing) {
  const McHandle<ListeningRois> rois = new ListeningRois;
  const auto a = exact(kLeft);
  rois->addRoi(a);
  rois->touches.clear();
  *a -= *exact(kFar);
  EXPECT_EQ(count(*a), volume(kLeft));
  EXPECT_EQ(a->cachedBoundingBox(), kLeft);
  EXPECT_TRUE(rois->touches.empty());
}

TEST_F(MaskAlgebra, ExclusiveOrLeavesAnApproximatedBox) {
  const auto a = exact(kLeft);
  *a ^= *exact(kRight);
  EXPECT_EQ(count(*a), volume(kLeft) + volume(kRight) - 2 * volume(kBoth));
  EXPECT_EQ(a->cachedApproximatedBoundingBox(), kUnion);
  EXPECT_FALSE(a->cachedBoundingBox());
}

TEST_F(MaskAlgebra, UnionOfExactBoxesIsExactWithoutAScan) {
  const auto a = exact(kLeft);
  *a |= *exact(kRight);
  EXPECT_EQ(count(*a), volume(kLeft) + volume(kRight) - volume(kBoth));
  EXPECT_EQ(a->cachedBoundingBox(), kUnion);
  EXPECT_FALSE(a->cachedApproximatedBoundingBox());
}

TEST_F(MaskAlgebra, UnionWithAnApproximatedBoxIsApproximated) {
  const auto a = exact(kLeft);
  const auto b = exact(kRight);
  b->setApproximatedBoundingBox(kRight);
  *a |= *b;
  EXPECT_EQ(a->cachedApproximatedBoundingBox(), kUnion);
  EXPECT_FALSE(a->cachedBoundingBox());
}

TEST_F(MaskAlgebra, UnionAndExclusiveOrWithAnEmptyMaskDoNothing) {
  const auto a = exact(kLeft);
  *a |= *makeMask();
  *a ^= *makeMask();
  EXPECT_EQ(count(*a), volume(kLeft));
  EXPECT_EQ(a->cachedBoundingBox(), kLeft);
}

TEST_F(MaskAlgebra, UnknownBoxesCountAsTheWholeMask) {
  const auto a = makeMask(kGrid, kLeft);
  const auto b = makeMask(kGrid, kRight);
  *a |= *b;
  EXPECT_EQ(a->cachedApproximatedBoundingBox(), kWhole);
  EXPECT_EQ(count(*a), volume(kLeft) + volume(kRight) - volume(kBoth));
}

TEST_F(MaskAlgebra, ExactBoxWinsWhenBothAreKnown) {
  const auto user = borrowed(*exact(kLeft));
  writeText(folder / "user.ldm", [&] {
    std::string text = textOf(folder / "user.ldm");
    return text.replace(text.find("</VolumeInformation>"), 0,
                        "<ApproximatedBoundingBox>0 12 0 10 0 6</ApproximatedBoundingBox>");
  }());
  const McHandle<Mask> both = Mask::loadFromFile("both", folder / "user");
  ASSERT_TRUE(both->cachedBoundingBox() && both->cachedApproximatedBoundingBox());
  const auto a = exact(kRight);
  *a ^= *both;
  EXPECT_EQ(a->cachedApproximatedBoundingBox(), kUnion);
}

TEST_F(MaskAlgebra, IntersectionLeavesTheCommonBoxAsApproximated) {
  const auto a = exact(kLeft);
  *a &= *exact(kRight);
  EXPECT_EQ(count(*a), volume(kBoth));
  EXPECT_EQ(a->cachedApproximatedBoundingBox(), kBoth);
}

TEST_F(MaskAlgebra, IntersectionWithoutOverlapEmptiesTheMask) {
  const auto a = exact(kLeft);
  *a &= *exact(kFar);
  EXPECT_EQ(count(*a), 0U);
  EXPECT_EQ(a->cachedBoundingBox(), hxroi::emptyBox<int>());
}

TEST_F(MaskAlgebra, NegationInvertsEveryVoxelAndLeavesNoBox) {
  const auto a = exact(kLeft);
  a->negate();
  EXPECT_EQ(count(*a), volume(kWhole) - volume(kLeft));
  EXPECT_FALSE(a->cachedBoundingBox());
  EXPECT_FALSE(a->cachedApproximatedBoundingBox());
}

TEST_F(MaskAlgebra, OperatorsTouchTheContent) {
  const auto other = exact(kRight, "other");
  const std::vector<std::function<void(Mask&)>> operators{
      [&](Mask& m) { m -= *other; }, [&](Mask& m) { m ^= *other; }, [&](Mask& m) { m |= *other; },
      [&](Mask& m) { m &= *other; }, [](Mask& m) { m.negate(); },
  };
  for (const auto& apply : operators) {
    const McHandle<ListeningRois> rois = new ListeningRois;
    const auto a = exact(kLeft);
    rois->addRoi(a);
    rois->touches.clear();
    apply(*a);
    EXPECT_THAT(rois->touches, ::testing::Contains(8U));
    EXPECT_THAT(rois->touches, ::testing::Each(8U));
  }
}

TEST_F(MaskAlgebra, ValueOperatorsNameTheirResultAndLeaveTheOperands) {
  const auto a = exact(kLeft, "A");
  const auto b = exact(kRight, "B");
  a->setProperty("side", "left");
  a->setColormapRange({-3, 17});
  const auto expect = [&](const Mask& result, const char* name, std::uint64_t voxels) {
    EXPECT_EQ(result.name(), name);
    EXPECT_EQ(count(result), voxels);
    EXPECT_EQ(result.color(), a->color());
    EXPECT_EQ(result.stringProperty("side", false), "left");
    EXPECT_EQ(result.colormapRange(false), std::make_pair(-3.0F, 17.0F));
    EXPECT_NE(result.id(), a->id());
    EXPECT_NE(result.volumeMask(), a->volumeMask());
  };
  expect(*a - *b, "A-minus-B", volume(kLeft) - volume(kBoth));
  expect(*a ^ *b, "A-xor-B", volume(kLeft) + volume(kRight) - 2 * volume(kBoth));
  expect(*a | *b, "A-or-B", volume(kLeft) + volume(kRight) - volume(kBoth));
  expect(*a & *b, "A-and-B", volume(kBoth));
  EXPECT_EQ(count(*a), volume(kLeft));
  EXPECT_EQ(count(*b), volume(kRight));
}

TEST_F(MaskAlgebra, ResultsOfValueOperatorsHoldTheirVoxelsAndLeaveTheBoxesOfTheOperators) {
  const auto a = exact(kLeft, "A");
  const auto b = exact(kRight, "B");
  {
    Mask both = *a | *b;
    EXPECT_EQ(both.cachedBoundingBox(), kUnion);
    EXPECT_EQ((*a - *b).cachedApproximatedBoundingBox(), kLeft);
    EXPECT_EQ((*a ^ *b).cachedApproximatedBoundingBox(), kUnion);
    EXPECT_EQ((*a & *b).cachedApproximatedBoundingBox(), kBoth);
    fill(both, kFar);
    both.flush(0);
    EXPECT_EQ(count(both), volume(kLeft) + volume(kRight) - volume(kBoth) + volume(kFar));
    EXPECT_EQ(temporaryFiles().size(), 3U);
  }
  EXPECT_TRUE(temporaryFiles().empty());
}

TEST_F(MaskAlgebra, OperatorsWithItself) {
  const auto a = exact(kLeft);
  *a |= *a;
  EXPECT_EQ(count(*a), volume(kLeft));
  *a &= *a;
  EXPECT_EQ(count(*a), volume(kLeft));
  *a ^= *a;
  EXPECT_EQ(count(*a), 0U);
  const auto b = exact(kLeft);
  *b -= *b;
  EXPECT_EQ(count(*b), 0U);
}

TEST_F(MaskAlgebra, RandomOperationsEqualThoseOnSingleVoxels) {
  auto random = seededRandom();
  const std::vector<std::pair<std::function<void(Mask&, const Mask&)>, std::function<bool(bool, bool)>>> operators{
      {[](Mask& a, const Mask& b) { a -= b; }, [](bool a, bool b) { return a && !b; }},
      {[](Mask& a, const Mask& b) { a ^= b; }, [](bool a, bool b) { return a != b; }},
      {[](Mask& a, const Mask& b) { a |= b; }, [](bool a, bool b) { return a || b; }},
      {[](Mask& a, const Mask& b) { a &= b; }, [](bool a, bool b) { return a && b; }},
      {[](Mask& a, const Mask&) { a.negate(); }, [](bool a, bool) { return !a; }},
      {[](Mask& a, const Mask& b) { a = b; }, [](bool, bool b) { return b; }},
      {[](Mask& a, const Mask&) { a.flush(0); }, [](bool a, bool) { return a; }},
      {[](Mask& a, const Mask&) { a.getBoundingBox(); }, [](bool a, bool) { return a; }},
  };
  for (const McVec3i& n : {McVec3i(13, 11, 7), McVec3i(70, 9, 66)}) {
    for (int round = 0; round < 30; ++round) {
      const auto a = makeMask(n);
      Bits expected(bitsOf(*a));
      for (int step = 0; step < 12; ++step) {
        const auto b = makeMask(n);
        const Bits bits = step == 0 ? randomBits(n, random) : randomBits(n, random, 0.9);
        setBits(*b, bits);
        if (random() % 2) b->getBoundingBox();
        if (random() % 2) b->flush(0);
        const auto& [apply, f] = operators[random() % operators.size()];
        apply(*a, *b);
        for (std::size_t i = 0; i < expected.size(); ++i) expected[i] = f(expected[i], bits[i]);
        ASSERT_EQ(bitsOf(*a), expected) << "round " << round << ", step " << step;
        const McBox3i box = boundsOf(expected, n);
        if (const auto known = a->cachedBoundingBox()) {
          ASSERT_EQ(*known, box);
        }
        if (const auto known = a->cachedApproximatedBoundingBox()) {
          ASSERT_TRUE(known->contains(box));
        }
      }
      ASSERT_EQ(a->getBoundingBox(), boundsOf(expected, n));
    }
  }
}

TEST_F(MaskAlgebra, MasksOfDifferentTilesCombine) {
  const auto node = hxvoxora::makeRef<SoVolumeMask>();
  node->initializeInMemory({13, 11, 7}, {32, 8, 16});
  const McHandle<Mask> b = new Mask("b", node.get(), McColor(), nullptr);
  fill(*b, kRight);
  const auto a = exact(kLeft);
  *a |= *b;
  EXPECT_EQ(count(*a), volume(kLeft) + volume(kRight) - volume(kBoth));
}

TEST_F(MaskAlgebra, StoringAnEmptyMaskLeavesTheVoxels) {
  const auto a = exact(kLeft);
  a->store(*makeMask());
  EXPECT_EQ(count(*a), volume(kLeft));
  EXPECT_EQ(a->getBoundingBox(), hxroi::emptyBox<int>());
}

TEST_F(MaskAlgebra, StoringAnUneditedMaskWithoutFileTakesItsBoxOnly) {
  const auto source = makeMask();
  source->setBoundingBox(kLeft);
  const auto a = makeMask();
  a->store(*source);
  EXPECT_EQ(count(*a), 0U);
  EXPECT_EQ(a->cachedBoundingBox(), kLeft);
}

TEST_F(MaskAlgebra, StoringASavedMaskCopiesItsFiles) {
  const McHandle<ListeningRois> rois = new ListeningRois;
  const auto source = saved(kLeft);
  const auto a = exact(kFar);
  a->flush(0);
  const std::string former = a->temporaryPrefix();
  rois->addRoi(a);
  rois->touches.clear();
  a->store(*source);
  EXPECT_EQ(bitsOf(*a), bitsOf(*source));
  EXPECT_EQ(a->cachedBoundingBox(), kLeft);
  EXPECT_NE(a->temporaryPrefix(), former);
  EXPECT_FALSE(exists(former + ".ldm"));
  for (const char* extension : {".ldm", ".dat", ".fcp"}) EXPECT_TRUE(exists(a->temporaryPrefix() + extension));
  EXPECT_FALSE(a->volumeMask()->hasUnsavedEdits());
  EXPECT_EQ(rois->touches, std::vector<unsigned int>{8});
  EXPECT_TRUE(a->ownsTemporaryFiles());
}

TEST_F(MaskAlgebra, StoredCopyIsIndependent) {
  const auto source = saved(kLeft);
  const auto a = makeMask();
  a->store(*source);
  *a = true;
  a->flush(0);
  EXPECT_EQ(count(*source), volume(kLeft));
  *source = false;
  source->flush(0);
  EXPECT_EQ(count(*a), volume(kWhole));
}

TEST_F(MaskAlgebra, StoringFilesDropsPendingEdits) {
  const auto a = exact(kFar);
  a->store(*saved(kLeft));
  EXPECT_EQ(count(*a), volume(kLeft));
}

TEST_F(MaskAlgebra, StoringFilesIntoABorrowedMaskLeavesItSoAndItsFilesGoWithIt) {
  const auto source = saved(kLeft);
  auto user = borrowed(*exact(kRight));
  const auto before = hashesOf(folder);
  user->store(*source);
  EXPECT_FALSE(user->ownsTemporaryFiles());
  EXPECT_EQ(count(*user), volume(kLeft));
  const std::string first = user->temporaryPrefix();
  user->store(*source);
  EXPECT_FALSE(exists(first + ".ldm"));
  fill(*user, kFar);
  EXPECT_TRUE(user->ownsTemporaryFiles());
  EXPECT_EQ(count(*user), volume(kLeft) + volume(kFar));
  EXPECT_EQ(hashesOf(folder), before);
  user.reset();
  EXPECT_EQ(temporaryFiles().size(), 3U) << "those of the source";
}

TEST_F(MaskAlgebra, StoringAMaskWithEditsCopiesVoxels) {
  const auto source = exact(kLeft);
  const auto a = exact(kFar);
  const std::string prefix = a->temporaryPrefix();
  a->store(*source);
  EXPECT_EQ(bitsOf(*a), bitsOf(*source));
  EXPECT_EQ(a->cachedBoundingBox(), kLeft);
  EXPECT_EQ(a->temporaryPrefix(), prefix);
  EXPECT_TRUE(a->volumeMask()->hasUnsavedEdits());
}

TEST_F(MaskAlgebra, StoringVoxelsClearsAllButAnUntouchedMask) {
  const auto source = exact(kLeft);
  const auto written = makeMask(kGrid, true);
  fill(*written, kFar);
  written->store(*source);
  EXPECT_EQ(count(*written), volume(kLeft));
  const auto untouched = makeMask(kGrid, true);
  untouched->store(*source);
  EXPECT_EQ(count(*untouched), volume(kWhole));
}

TEST_F(MaskAlgebra, FailedCopyOfFilesLeavesTheMask) {
  const auto source = saved(kLeft);
  const auto a = exact(kFar);
  const std::string prefix = a->temporaryPrefix();
  {
    QuotaFileSystem full(hxvoxora::FileSystem::posix(), (folder / "temporary").string());
    full.setRoom(0);
    const hxvoxora::FileSystemOverride current(full);
    EXPECT_THROW(a->store(*source), McException);
  }
  EXPECT_EQ(a->temporaryPrefix(), prefix);
  EXPECT_EQ(count(*a), volume(kFar));
  EXPECT_EQ(temporaryFiles().size(), 3U) << "those of the source";
}

TEST_F(MaskAlgebra, MergingParametersNeverOverwrites) {
  const auto a = makeMask();
  const auto b = makeMask();
  a->setProperty("side", "left");
  b->setProperty("side", "right");
  b->setProperty("lobe", 3);
  const std::string id = a->id();
  a->mergeParameters(*b, true);
  EXPECT_EQ(a->stringProperty("side", false), "left");
  EXPECT_EQ(a->intProperty("lobe", false), 3);
  EXPECT_EQ(a->id(), id);
}

TEST_F(MaskAlgebra, MergingParametersGoesIntoBundlesWhenRecursive) {
  for (const bool recursive : {false, true}) {
    const auto a = makeMask();
    const auto b = makeMask();
    a->parameters().getBundle("Atlas")->set("name", "mine");
    b->parameters().getBundle("Atlas")->set("name", "theirs");
    b->parameters().getBundle("Atlas")->set("year", 2026);
    b->parameters().getBundle("Other")->set("x", 1);
    a->mergeParameters(*b, recursive);
    const HxParamBundle* atlas = std::as_const(a->parameters()).getBundle("Atlas");
    std::string name;
    ASSERT_TRUE(atlas->findString("name", name));
    EXPECT_EQ(name, "mine");
    EXPECT_EQ(atlas->find("year") != nullptr, recursive);
    EXPECT_NE(std::as_const(a->parameters()).getBundle("Other"), nullptr);
  }
}

TEST_F(MaskAlgebra, MergingParametersWhereTypesDifferKeepsOnesOwn) {
  const auto a = makeMask();
  const auto b = makeMask();
  a->setProperty("Atlas", 1);
  b->parameters().getBundle("Atlas")->set("name", "theirs");
  a->mergeParameters(*b, true);
  EXPECT_EQ(a->intProperty("Atlas", false), 1);
}

TEST_F(MaskAlgebra, SubtractionReachesNoFartherThanBothBoxes) {
  const auto a = makeMask(kGrid, kWhole), b = makeMask(kGrid, kWhole, "other");
  a->setBoundingBox(kLeft);
  b->setBoundingBox(kRight);
  *a -= *b;
  EXPECT_EQ(count(*a), volume(kWhole) - volume(kBoth));
}

TEST_F(MaskAlgebra, ExclusiveOrAndUnionReachAsFarAsTheBoxOfTheOther) {
  const auto a = makeMask(kGrid, kWhole), b = makeMask(kGrid, kWhole, "other");
  a->setBoundingBox(kLeft);
  b->setBoundingBox(kRight);
  *a ^= *b;
  EXPECT_EQ(count(*a), volume(kWhole) - volume(kRight));
  const auto c = makeMask(kGrid);
  *c |= *b;
  EXPECT_EQ(count(*c), volume(kRight));
}

TEST_F(MaskAlgebra, IntersectionReachesAsFarAsOneBoxExtendedByTheOther) {
  const auto a = makeMask(kGrid, kWhole), b = makeMask(kGrid, false, "other");
  a->setBoundingBox(kLeft);
  b->setBoundingBox(kRight);
  *a &= *b;
  EXPECT_EQ(count(*a), volume(kWhole) - volume(kUnion));
}

TEST_F(MaskAlgebra, ObeysTheLawsOfSets) {
  auto random = seededRandom();
  const McVec3i n(70, 20, 18);
  for (int round = 0; round < 20; ++round) {
    std::vector<McHandle<Mask>> operands;
    for (const double density : {0.02, 0.5, 0.9}) {
      operands.push_back(makeMask(n));
      setBits(*operands.back(), randomBits(n, random, density));
      if (random() % 2 == 0) operands.back()->getBoundingBox();
    }
    const auto copy = [](const Mask& mask) { return McHandle<Mask>(new Mask("copy", mask)); };
    const auto combined = [&](const Mask& left, Mask& (Mask::*combine)(const Mask&), const Mask& right) {
      const auto result = copy(left);
      (*result.*combine)(right);
      return result;
    };
    const auto inverse = [&](const Mask& mask) {
      const auto result = copy(mask);
      result->negate();
      return result;
    };
    const Mask &a = *operands[0], &b = *operands[1], &c = *operands[2];
    const auto unite = &Mask::operator|=, intersect = &Mask::operator&=, differ = &Mask::operator^=,
               subtract = &Mask::operator-=;
    // What an operator knows of its result must hold what is set.
    const auto expectEqual = [&](const Mask& left, const Mask& right, const char* law) {
      EXPECT_EQ(bitsOf(left), bitsOf(right)) << law;
      EXPECT_EQ(left.getBoundingBox(), boundsOf(bitsOf(left), n)) << law;
      EXPECT_EQ(right.getBoundingBox(), boundsOf(bitsOf(right), n)) << law;
    };
    expectEqual(*inverse(*combined(a, unite, b)), *combined(*inverse(a), intersect, *inverse(b)), "De Morgan");
    expectEqual(*combined(a, intersect, *combined(b, unite, c)),
                *combined(*combined(a, intersect, b), unite, *combined(a, intersect, c)), "distributive");
    expectEqual(*combined(a, unite, *combined(b, intersect, c)),
                *combined(*combined(a, unite, b), intersect, *combined(a, unite, c)), "distributive");
    expectEqual(*combined(*combined(a, differ, b), differ, b), a, "twice the same difference");
    expectEqual(*combined(a, subtract, b), *combined(a, intersect, *inverse(b)), "subtraction");
    expectEqual(*combined(a, unite, *combined(a, intersect, b)), a, "absorption");
    expectEqual(*combined(*combined(a, unite, b), unite, c), *combined(a, unite, *combined(b, unite, c)),
                "associative");
    expectEqual(*inverse(*inverse(a)), a, "double negation");
    EXPECT_TRUE(combined(a, differ, a)->empty());
    EXPECT_TRUE(combined(a, subtract, a)->empty());
  }
}
