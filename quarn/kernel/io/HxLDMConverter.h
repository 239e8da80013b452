#pragma once

#include "quarn/base/McFilename.h"
#include "quarn/kernel/export.h"
#include "quarn/voxora/tiles/WorkCallback.h"

/// Brings tiled volumes (".ldm") of older layouts to the current one.
class QUARN_KERNEL_API HxLDMConverter {
public:
  /// Reads the volume `from`, whose tiles have borders, and writes it without borders: the header `to`, which ends in
  /// ".ldm", and beside it data file and index, named after it. Everything is written beside its place, brought to
  /// stable storage and renamed; until then, and after a failure, `to` is as before. `from` is only read.
  ///
  /// The elements "BoundingBox" and "ApproximatedBoundingBox" of the header come along when they are sound: the first
  /// is the smallest box around the set voxels, the second lies in the volume and holds them all. Others are left out;
  /// the console tells. So are all other elements that the format does not define.
  ///
  /// `replaceExisting` says whether a volume `to` that is there already is replaced; if not, it is refused. McException
  /// names the file. Returns false, with everything as before, when `callback` gave the work up.
  static bool updateToUlx9(const McFilename& from, const McFilename& to, bool replaceExisting,
                           const hxvoxora::WorkCallback& callback = {});
};
