#pragma once

#include <QString>
#include <array>
#include <cstdint>

#include "roitools/export.h"

namespace roitools {

/// How many components there are of which size: classes 1, 2 to 9, 10 to 99, 100 to 999, ...
class ROITOOLS_API SizeHistogram {
public:
  /// Counts a component of so many voxels, at least 1.
  void add(std::uint64_t voxels);

  std::uint64_t components() const { return components_; }
  std::uint64_t voxels() const { return voxels_; }

  /// A table with one line for each class from the first to the last that has components; empty without any.
  QString toText() const;

private:
  struct Class {
    std::uint64_t components = 0, voxels = 0;
  };
  static constexpr int kClasses = 21;  // 1, and one for each number of digits of 64 bits

  std::array<Class, kClasses> classes_{};
  std::uint64_t components_ = 0, voxels_ = 0;
};

}  // namespace roitools
