#pragma once

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McColor.h"
#include "quarn/base/McHandle.h"
#include "tests/hxroi_worker/randomMask.h"

/// ROI sets whose whole content follows from one number, which is saved with them: a set that was put together from two
/// saves shows.
namespace numberedset {

inline constexpr int kMasks = 3;

inline std::vector<bool> bits(int number, int mask) {
  std::mt19937 random(static_cast<std::uint32_t>(number * kMasks + mask));
  return randommask::bits(random);
}

inline std::string maskName(int mask) {
  return "M" + std::to_string(mask);
}

/// Makes the masks that are missing, and gives all of them the voxels of this number.
inline void fill(HxRois& set, int number) {
  using hxroi::details::Mask;
  for (int i = 0; i < kMasks; ++i) {
    if (!set.getMask(maskName(i))) {
      const McHandle<Mask> mask(new Mask(maskName(i), randommask::kGrid, false, McColor(1, 0, 0), nullptr));
      set.addRoi(mask);
    }
    Mask& mask = *set.getMask(maskName(i));
    const std::vector<bool> all = bits(number, i);
    auto view = mask.getBox({0, 0, 0}, randommask::kGrid, hxroi::AccessMode::WriteOnly);
    std::copy(all.begin(), all.end(), view.begin());
  }
  set.parameters.set("Number", number);
}

/// The number of a set; -1 when not all of it is of one number.
inline int numberOf(const HxRois& set) {
  int number = -1;
  if (!set.parameters.findNum("Number", number) || set.getNumberOfMasks() != kMasks) return -1;
  for (int i = 0; i < kMasks; ++i) {
    const hxroi::details::Mask* mask = set.getMask(maskName(i));
    if (!mask) return -1;
    const std::vector<bool> all = bits(number, i);
    const auto view = mask->getConstBox();
    if (!std::equal(all.begin(), all.end(), view.begin())) return -1;
  }
  return number;
}

}  // namespace numberedset
