#pragma once

#include <cstddef>
#include <cstdint>

#include "quarn/voxora/bits/TruthTable.h"
#include "quarn/voxora/export.h"

/// Work on stretches of packed bits, 64 or more at a time as InstructionSet.h tells.
///
/// Bit i of an array lies in byte i / 8 under the mask 0x80 >> (i % 8): the most significant bit comes first. A stretch
/// is given by the array, the number of its first bit and its count of bits; offset and count may be anything, and no
/// byte outside the bytes that hold the stretch is read or written. Bits beside the stretch keep their values. Nothing
/// here throws or allocates.
///
/// Functions that end in "Shared" may run at once on neighbouring stretches of one array: the first and the last byte
/// of the destination, which another thread may be changing too, are updated atomically, those between plainly. The
/// source must not change meanwhile.
namespace hxvoxora {

/// Copies `count` bits. The stretches must not overlap.
QUARN_VOXORA_API void copyBits(void* dst, std::uint64_t dstBit, const void* src, std::uint64_t srcBit,
                               std::uint64_t count);

/// Sets or clears `count` bits.
QUARN_VOXORA_API void fillBits(void* dst, std::uint64_t dstBit, std::uint64_t count, bool value);

/// Inverts `count` bits.
QUARN_VOXORA_API void invertBits(void* dst, std::uint64_t dstBit, std::uint64_t count);

/// dst = f(dst, src) on `count` bits. The stretches must be the same one or not overlap.
QUARN_VOXORA_API void combineBits(void* dst, std::uint64_t dstBit, const void* src, std::uint64_t srcBit,
                                  std::uint64_t count, TruthTable f);

/// fillBits() beside other threads.
QUARN_VOXORA_API void fillBitsShared(void* dst, std::uint64_t dstBit, std::uint64_t count, bool value);

/// invertBits() beside other threads.
QUARN_VOXORA_API void invertBitsShared(void* dst, std::uint64_t dstBit, std::uint64_t count);

/// combineBits() beside other threads; with TruthTable::CopyB it copies.
QUARN_VOXORA_API void combineBitsShared(void* dst, std::uint64_t dstBit, const void* src, std::uint64_t srcBit,
                                        std::uint64_t count, TruthTable f);

/// The number of set bits of a stretch.
QUARN_VOXORA_API std::uint64_t countBits(const void* bits, std::uint64_t firstBit, std::uint64_t count);

/// The place of the first set bit, counted from `firstBit`; `count` when there is none.
QUARN_VOXORA_API std::uint64_t findFirstSet(const void* bits, std::uint64_t firstBit, std::uint64_t count);

/// The place of the first clear bit, counted from `firstBit`; `count` when there is none.
QUARN_VOXORA_API std::uint64_t findFirstClear(const void* bits, std::uint64_t firstBit, std::uint64_t count);

/// The place of the last set bit, counted from `firstBit`; `count` when there is none.
QUARN_VOXORA_API std::uint64_t findLastSet(const void* bits, std::uint64_t firstBit, std::uint64_t count);

/// What a pass over whole words has seen on its way.
struct WordSummary {
  bool anySet = false;    ///< at least one bit of the result is set
  bool anyClear = false;  ///< at least one bit of the result is clear
};

/// dst = f(a, b) on whole blocks of `byteCount` bytes, a multiple of 32, all three aligned to 8 bytes. dst may be a or
/// b.
QUARN_VOXORA_API WordSummary combineBlocks(void* dst, const void* a, const void* b, std::size_t byteCount,
                                           TruthTable f);

}  // namespace hxvoxora
