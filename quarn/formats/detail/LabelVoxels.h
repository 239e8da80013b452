#pragma once

#include <QString>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "quarn/formats/detail/LabelNumbering.h"
#include "quarn/formats/detail/LabelSet.h"
#include "quarn/formats/detail/VoxelKind.h"

namespace quarn::formats::detail {

/// The voxels of a label image in the type of their file, x fastest.
class LabelVoxels {
public:
  LabelVoxels(VoxelKind kind, const std::array<std::int64_t, 3>& dimensions);

  /// Room for all voxels.
  void* data() { return bytes_.data(); }

  /// The distinct values.
  ///
  /// @throws McException, naming `file`, voxel and value, for the first voxel that is not a whole number from 0 to
  ///   2147483647.
  LabelSet collectLabels(const QString& file) const;

  /// Writes the number of each voxel to `numbers`, which has room for all voxels.
  void renumber(const LabelNumbering& numbering, std::uint8_t* numbers) const;

private:
  template <typename T>
  const T* voxels() const {
    return reinterpret_cast<const T*>(bytes_.data());
  }

  VoxelKind kind_;
  std::array<std::int64_t, 3> dimensions_;
  std::int64_t count_;
  std::vector<std::byte> bytes_;
};

}  // namespace quarn::formats::detail
