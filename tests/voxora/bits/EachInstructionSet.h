#pragma once

#include <gtest/gtest.h>
#include <string>

#include "quarn/voxora/bits/InstructionSet.h"

/// A test that runs once with every instruction set; those that the processor lacks are skipped.
class EachInstructionSet : public testing::TestWithParam<hxvoxora::InstructionSet> {
protected:
  void SetUp() override {
    if (!hxvoxora::isAvailable(GetParam())) GTEST_SKIP() << "no " << hxvoxora::nameOf(GetParam());
    hxvoxora::setInstructionSet(GetParam());
  }
  void TearDown() override { hxvoxora::setInstructionSet(before_); }

private:
  const hxvoxora::InstructionSet before_ = hxvoxora::instructionSet();
};

inline std::string nameOfSet(const testing::TestParamInfo<hxvoxora::InstructionSet>& info) {
  return hxvoxora::nameOf(info.param);
}

#define WITH_EACH_INSTRUCTION_SET(Suite)                                                                     \
  INSTANTIATE_TEST_SUITE_P(With, Suite,                                                                      \
                           testing::Values(hxvoxora::InstructionSet::Scalar, hxvoxora::InstructionSet::Avx2, \
                                           hxvoxora::InstructionSet::Avx512),                                \
                           nameOfSet)
