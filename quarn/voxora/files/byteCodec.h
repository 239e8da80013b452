#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "quarn/voxora/export.h"

/// How the files of this system pack and check their bytes, for files of other layers. All from any thread.
namespace hxvoxora {

/// Packs `raw` as one gzip member into the beginning of `out`. Returns its size; 0 when it does not fit.
QUARN_VOXORA_API std::size_t packBytes(std::span<const std::byte> raw, std::span<std::byte> out);

/// Unpacks one gzip member that fills `packed` exactly and holds exactly out.size() bytes. Returns an empty text, or
/// what is wrong; `out` is of no use then.
QUARN_VOXORA_API std::string unpackBytes(std::span<const std::byte> packed, std::span<std::byte> out);

/// XXH3, 64 bits.
QUARN_VOXORA_API std::uint64_t checksumOf(std::span<const std::byte> bytes);

/// The most that one packed byte can stand for; what claims more is damaged.
inline constexpr std::uint64_t mostBytesPerPackedByte = 1032;

}  // namespace hxvoxora
