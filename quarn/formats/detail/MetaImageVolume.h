#pragma once

#include <QString>

#include "quarn/formats/detail/ImageVolume.h"
#include "quarn/formats/detail/RawVoxels.h"

namespace quarn::formats::detail {

/// One volume of a MetaImage (".mha", or ".mhd" with its voxels in a file beside it).
class MetaImageVolume : public ImageVolume {
public:
  /// @throws McException, naming the file at fault, when it is missing, no MetaImage of a volume of plain numbers, or
  ///   too short.
  MetaImageVolume(const QString& file, const Progress& progress);

  void readVoxels(void* voxels, const Progress& progress) override { voxels_.read(voxels, progress); }

private:
  RawVoxels voxels_;
};

}  // namespace quarn::formats::detail
