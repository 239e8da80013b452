#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "quarn/voxora/files/VolumeHeader.h"

namespace fuzz {

/// Throws std::logic_error when a property does not hold.
void require(bool holds, const std::string& property);

/// Runs `action`. Returns the text of the McException it throws, empty when it throws none. The text must name a file
/// of the set "/v/a.*", be of a length that can be shown, and hold no control characters.
std::string refusalOf(const std::function<void()>& action);

/// Two headers with the same values; elements that the format does not define are not compared.
void requireSame(const hxvoxora::VolumeHeader& a, const hxvoxora::VolumeHeader& b);

/// Whether all voxels of a tile that lie outside the volume are clear; asks bit by bit.
bool isClearOutside(std::span<const std::byte> bits, const hxvoxora::VolumeHeader& header, std::uint64_t tile);

}  // namespace fuzz
