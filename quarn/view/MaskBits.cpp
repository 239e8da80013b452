#include "quarn/view/MaskBits.h"

#include <algorithm>

namespace quarn::view {

MaskBits::MaskBits(const SbBox3i32& box) : box_(box), wordsPerRow_((size(0) + 63) / 64) {
  words_.resize(offset(0, size(2)));
}

MaskBits::MaskBits(const hxvoxora::TileSnapshot& content, const SbBox3i32& box) : MaskBits(box) {
  content.forEachRun(box, [this](int y, int z, int x0, int x1) {
    std::uint64_t* words = rowOf(y, z);
    forEachWord(x0, x1, [words](unsigned word, std::uint64_t bits) { words[word] |= bits; });
  });
}

bool MaskBits::test(int x, int y, int z) const {
  const SbVec3i32& first = box_.getMin();
  const auto bit = static_cast<unsigned>(x - first[0] + 1);
  return (row(y - first[1] + 1, z - first[2] + 1)[bit / 64] >> (bit % 64)) & 1;
}

bool MaskBits::isAllClear() const {
  return std::all_of(words_.begin(), words_.end(), [](std::uint64_t word) { return word == 0; });
}

}  // namespace quarn::view
