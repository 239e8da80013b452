#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "quarn/voxora/tiles/TileSnapshot.h"

/// ITK's filters beside our masks: an image of one byte per voxel, the same voxels, the same threads. Optional: without
/// the library at build time there is no peer.
namespace bench {

/// A mask as such an image.
class ItkMask {
public:
  /// False when the library was not there; nothing else may be called then.
  static bool isAvailable();

  explicit ItkMask(const hxvoxora::TileSnapshot& content);
  ~ItkMask();

  /// Labels all face-connected pieces and counts them. Labels are as narrow as so many pieces allow.
  std::uint64_t countComponents(std::uint64_t expected) const;

  /// Hands over how many voxels each piece has, and its box: from the label image, voxel by voxel.
  void measureComponents(const std::function<void(std::uint64_t voxels, const SbBox3i32& box)>& sink) const;

private:
  struct Image;
  std::unique_ptr<Image> image_;
};

}  // namespace bench
