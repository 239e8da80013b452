#include "hxroi/detail/packLabel.h"

#include <cstring>

#include "quarn/voxora/bits/LabelBits.h"

namespace hxroi {

using hxvoxora::labelsPerWord;

void packLabel(const std::uint8_t* labels, std::size_t count, std::uint8_t label, std::uint8_t* bits) {
  std::size_t i = 0;
  for (; i + labelsPerWord <= count; i += labelsPerWord) {
    const std::uint64_t word = hxvoxora::inPackedOrder(hxvoxora::findLabel(labels + i, label));
    std::memcpy(bits + i / 8, &word, sizeof word);
  }
  if (i == count) return;
  std::uint8_t padded[labelsPerWord];
  std::memset(padded, ~label, sizeof padded);
  std::memcpy(padded, labels + i, count - i);
  const std::uint64_t word = hxvoxora::inPackedOrder(hxvoxora::findLabel(padded, label));
  std::memcpy(bits + i / 8, &word, (count - i + 7) / 8);
}

}  // namespace hxroi
