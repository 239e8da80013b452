#pragma once

#include <cstdint>
#include <vector>

namespace quarn::formats::detail {

/// The distinct label values of a volume, from 0 to 2147483647. Insertion takes constant time; memory follows the parts
/// of the range that hold values: 8 KiB for each 65536 values with one in it.
class LabelSet {
public:
  void insert(std::uint32_t value) {
    std::vector<std::uint64_t>& page = pages_[value / valuesPerPage];
    if (page.empty()) page.resize(wordsPerPage);
    page[value % valuesPerPage / 64] |= std::uint64_t{1} << (value % 64);
  }

  /// All values, in increasing order.
  std::vector<std::uint32_t> values() const;

private:
  static constexpr std::uint32_t valuesPerPage = 65536;
  static constexpr std::uint32_t wordsPerPage = valuesPerPage / 64;
  static constexpr std::uint32_t pageCount = 0x80000000U / valuesPerPage;

  std::vector<std::vector<std::uint64_t>> pages_{pageCount};
};

}  // namespace quarn::formats::detail
