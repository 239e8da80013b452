#pragma once

#include <cstddef>
#include <cstdint>

/// Rows of labels of one byte, made of rows of bits: the most significant bit of a byte first. The bits begin at a
/// byte, and whole bytes of them may be read; without bits (null) all voxels are set.
namespace hxvoxora::detail {

/// Set voxels become `label`, the others 0.
void writeLabels(std::uint8_t* row, std::size_t count, const std::uint8_t* bits, std::uint8_t label);

/// Set voxels become `label` where the label is 0, and `overlap` where it is not; the others stay. True when one was
/// not 0.
bool addLabels(std::uint8_t* row, std::size_t count, const std::uint8_t* bits, std::uint8_t label,
               std::uint8_t overlap);

}  // namespace hxvoxora::detail
