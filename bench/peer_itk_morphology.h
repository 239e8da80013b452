#pragma once

#include <memory>

#include "quarn/voxora/tiles/TileSnapshot.h"

/// ITK's binary morphology beside ours: an image of one byte per voxel, the same voxels, the same threads. Optional:
/// without the library at build time there is no peer.
namespace bench {

/// A mask as such an image.
class ItkImage {
public:
  /// False when the library was not there; nothing else may be called then.
  static bool isAvailable();

  explicit ItkImage(const hxvoxora::TileSnapshot& content);
  ItkImage(ItkImage&&) noexcept;
  ~ItkImage();

  /// Dilated or eroded in one pass with the octahedron of that radius, which is quicker than so many passes with the
  /// cross.
  ItkImage grown(int iterations, bool isErosion) const;

  /// Whether the same voxels are set.
  bool equals(const hxvoxora::TileSnapshot& content) const;

private:
  struct Image;
  explicit ItkImage(std::unique_ptr<Image> image);

  std::unique_ptr<Image> image_;
};

}  // namespace bench
