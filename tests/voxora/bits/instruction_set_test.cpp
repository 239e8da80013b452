#include <gtest/gtest.h>
#include <string>

#include "quarn/base/McException.h"
#include "quarn/voxora/bits/InstructionSet.h"

namespace {

using hxvoxora::InstructionSet;

constexpr InstructionSet allSets[] = {InstructionSet::Scalar, InstructionSet::Avx2, InstructionSet::Avx512};

TEST(InstructionSet, TheBestAvailableOneIsInUse) {
  InstructionSet best = InstructionSet::Scalar;
  for (const InstructionSet set : allSets)
    if (hxvoxora::isAvailable(set)) best = set;
  EXPECT_EQ(hxvoxora::instructionSet(), best);
  EXPECT_TRUE(hxvoxora::isAvailable(InstructionSet::Scalar));
}

TEST(InstructionSet, AvailableOnesCanBeChosenAndOthersAreRefused) {
  const InstructionSet before = hxvoxora::instructionSet();
  for (const InstructionSet set : allSets) {
    if (hxvoxora::isAvailable(set)) {
      hxvoxora::setInstructionSet(set);
      EXPECT_EQ(hxvoxora::instructionSet(), set);
    } else {
      const InstructionSet current = hxvoxora::instructionSet();
      EXPECT_THROW(hxvoxora::setInstructionSet(set), McException);
      EXPECT_EQ(hxvoxora::instructionSet(), current);
    }
  }
  hxvoxora::setInstructionSet(before);
}

TEST(InstructionSet, UnknownOnesAreRefused) {
  const InstructionSet before = hxvoxora::instructionSet();
  EXPECT_FALSE(hxvoxora::isAvailable(static_cast<InstructionSet>(77)));
  EXPECT_THROW(hxvoxora::setInstructionSet(static_cast<InstructionSet>(77)), McException);
  EXPECT_EQ(hxvoxora::instructionSet(), before);
}

}  // namespace
