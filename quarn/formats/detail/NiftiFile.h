#pragma once

#include <QString>
#include <functional>

#include "quarn/formats/detail/NiftiHeader.h"
#include "quarn/kernel/io/ByteStream.h"

namespace quarn::formats::detail {

/// A NIfTI file whose header makes sense and whose voxels are all there.
struct NiftiFile {
  QString headerFile;
  QString dataFile;  ///< the same file, unless the image is a pair
  ByteStream::Form dataForm = ByteStream::Form::found;
  NiftiHeader header;

  /// Called with the fraction done, now and then; may throw to stop.
  using Progress = std::function<void(float fraction)>;

  /// Opens `file` (".nii" or either half of a ".hdr"/".img" pair, gzip-compressed when the name ends in ".gz"), reads
  /// its header, and makes sure that the data file holds every voxel: by its length, or for a compressed file by going
  /// through the whole stream up to its checksum. No more than the header is kept in memory.
  ///
  /// @throws McException, naming the file, when it is missing, a folder, not readable, not NIfTI, cut or damaged.
  static NiftiFile open(const QString& file, const Progress& progress);
};

}  // namespace quarn::formats::detail
