#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "quarn/voxora/bits/BitKernels.h"
#include "quarn/voxora/bits/InstructionSet.h"
#include "quarn/voxora/bits/detail/Stretch.h"
#include "quarn/voxora/bits/detail/WordColumn.h"
#include "quarn/voxora/bits/detail/appendRows.h"

namespace hxvoxora::detail {

/// The passes over many whole words, in the form of one instruction set. Arrays begin on byte boundaries and need no
/// alignment; no byte beside the words is touched.
struct KernelTable {
  /// dst = f(dst, src) on `count` words, one function per truth table. `src` may be `dst`; functions that ignore it
  /// take null.
  using CombineWords = void (*)(std::uint8_t* dst, SourceWords src, std::size_t count);

  /// dst = f(a, b) on `byteCount` bytes, a multiple of 32, one function per truth table.
  using CombineBlocks = WordSummary (*)(std::uint8_t* dst, const std::uint8_t* a, const std::uint8_t* b,
                                        std::size_t byteCount);

  InstructionSet instructionSet;
  std::array<CombineWords, 16> combineWords;
  std::array<CombineBlocks, 16> combineBlocks;

  /// The number of set bits of `count` words.
  std::uint64_t (*countWords)(const std::uint8_t* words, std::size_t count);

  /// The number of words before the first one that differs from `ground`, whose bits are equal; `count` without one.
  std::size_t (*equalWordsAtFront)(const std::uint8_t* words, std::size_t count, Word ground);

  /// The number of zero words behind the last other one.
  std::size_t (*zeroWordsAtBack)(const std::uint8_t* words, std::size_t count);

  /// appendRows() of units that are words.
  void (*appendRows)(BitWriter& target, const CutRows& rows, std::size_t offset, std::int64_t rowCount);

  /// copyColumn(): `count` words from any bits on, for each of which columnReach bytes may be read.
  void (*copyColumn)(WordColumn column, std::uint64_t count, SeenBits& seen);
};

extern const KernelTable scalarKernels;

/// Null where the build knows no such instructions.
const KernelTable* avx2Kernels();
const KernelTable* avx512Kernels();
void appendRowsAvx2(BitWriter& target, const CutRows& rows, std::size_t offset, std::int64_t rowCount);
/// appendRowsAvx2() for rows of whole bytes that begin with a byte.
void appendByteRowsAvx2(std::uint8_t* target, const CutRows& rows, std::size_t offset, std::int64_t rowCount);
void copyColumnAvx2(WordColumn column, std::uint64_t count, SeenBits& seen);

extern std::atomic<const KernelTable*> activeKernels;

/// The table in use.
inline const KernelTable& kernels() {
  return *activeKernels.load(std::memory_order_relaxed);
}

/// From this many words on a call to a kernel costs less than it saves.
constexpr std::size_t longFrom = 8;

/// {make<0>(), ... make<15>()} for a generic callable `make` that takes a truth table as integral constant.
template <typename Make>
constexpr auto forAllTables(Make make) {
  return [&]<std::size_t... table>(std::index_sequence<table...>) {
    return std::array{make(std::integral_constant<unsigned, table>())...};
  }
  (std::make_index_sequence<16>());
}

}  // namespace hxvoxora::detail
