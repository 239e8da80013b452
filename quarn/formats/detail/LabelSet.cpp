#include "quarn/formats/detail/LabelSet.h"

#include <bit>

namespace quarn::formats::detail {

std::vector<std::uint32_t> LabelSet::values() const {
  std::vector<std::uint32_t> result;
  for (std::uint32_t page = 0; page < pageCount; ++page) {
    for (std::uint32_t word = 0; word < pages_[page].size(); ++word) {
      for (std::uint64_t bits = pages_[page][word]; bits != 0; bits &= bits - 1) {
        result.push_back(page * valuesPerPage + word * 64 + static_cast<std::uint32_t>(std::countr_zero(bits)));
      }
    }
  }
  return result;
}

}  // namespace quarn::formats::detail
