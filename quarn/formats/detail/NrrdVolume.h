#pragma once

#include <QString>

#include "quarn/formats/detail/ImageVolume.h"
#include "quarn/formats/detail/RawVoxels.h"

namespace quarn::formats::detail {

/// One volume of an NRRD file (".nrrd", or ".nhdr" with its voxels in a file beside it).
class NrrdVolume : public ImageVolume {
public:
  /// @throws McException, naming the file at fault, when it is missing, not NRRD, holds anything but one volume of
  ///   plain numbers, or is too short. The text says what the file holds instead.
  NrrdVolume(const QString& file, const Progress& progress);

  void readVoxels(void* voxels, const Progress& progress) override { voxels_.read(voxels, progress); }

private:
  RawVoxels voxels_;
};

}  // namespace quarn::formats::detail
