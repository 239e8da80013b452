#pragma once

#include <QString>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "quarn/formats/detail/ImageVolume.h"
#include "quarn/kernel/io/ByteStream.h"

namespace quarn::formats::detail {

/// Where and how the voxels of a volume stand in a file, one behind the other.
struct RawVoxels {
  QString file;
  std::uint64_t offset = 0;  ///< of the first stored byte
  std::int64_t skip = 0;     ///< bytes in front of the voxels, after unpacking
  ByteStream::Form form = ByteStream::Form::plain;
  bool isByteSwapped = false;  ///< the file has the other byte order than this machine
  VoxelKind kind = VoxelKind::UInt8;
  std::int64_t bytes = 0;  ///< of all voxels

  /// Checks that the file is long enough, before room for its voxels is made. Many compressed ones are gone through for
  /// that, once; few are only known to be possible.
  ///
  /// @throws McException, naming the file and what it holds, when it is not, or is no regular file.
  void requireLength(const ImageVolume::Progress& progress) const;

  /// Writes all voxels to `voxels`, some MiB at a time.
  ///
  /// @throws McException, naming the file, when it cannot be read, is cut, or its checksum is wrong.
  void read(void* voxels, const ImageVolume::Progress& progress) const;

  /// The same, piece by piece: `take` gets whole voxels, and how many bytes of voxels came before them.
  using Take = std::function<void(std::span<const std::byte> voxels, std::int64_t done)>;
  void readPieces(const Take& take, const ImageVolume::Progress& progress) const;
};

/// Bytes of a regular file.
///
/// @throws McException, naming the file, when it is missing, a folder or a device.
std::int64_t lengthOf(const QString& file);

/// The path of a file of voxels beside `headerFile`. A header must not lead the reader elsewhere.
///
/// @throws McException, naming `headerFile`, `element` and the name, unless that is a plain one, maybe behind "./",
///   of a regular file in the folder of the header; links are none.
QString fileBeside(const QString& headerFile, const char* element, const std::string& name);

}  // namespace quarn::formats::detail
