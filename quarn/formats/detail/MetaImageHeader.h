#pragma once

#include <QString>
#include <cstdint>
#include <string>
#include <string_view>

#include "quarn/formats/detail/ImageVolume.h"

namespace quarn::formats::detail {

/// What a MetaImage header says about the one volume that it describes, checked before a byte of the volume is read.
struct MetaImageHeader {
  static constexpr std::size_t maxBytes = std::size_t{1} << 16;

  ImageDescription image;
  bool isBigEndian = false;
  bool isCompressed = false;
  std::int64_t headerBytes = 0;  ///< in front of the voxels in their own file; -1: the voxels are the end of the file
  std::string dataFile;          ///< name of the file of the voxels; empty when they follow the header
  std::uint64_t dataOffset = 0;  ///< of the first byte behind the header

  /// Reads a header from the first bytes of a file: all, or at least maxBytes of them.
  ///
  /// @throws McException, naming `file`, element and value, for anything but the header of one volume of plain numbers.
  ///   The text says what the file holds instead: vectors, a series of volumes.
  static MetaImageHeader parse(std::string_view bytes, const QString& file);
};

}  // namespace quarn::formats::detail
