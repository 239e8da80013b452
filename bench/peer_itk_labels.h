#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "quarn/voxora/nodes/SbTypes.h"

/// ITK's way from label images to separate objects and back, with the same threads. Optional: without the library at
/// build time there is no peer.
namespace bench {

class ItkLabels {
public:
  /// False when the library was not there; nothing else may be called then.
  static bool isAvailable();

  /// An image of these labels, x fastest, which are copied.
  ItkLabels(const SbVec3i32& size, std::span<const std::uint8_t> labels);
  ~ItkLabels();

  /// Makes an object of runs for each label but 0, keeps them, and counts them.
  std::size_t separate();

  /// Makes a label image of the objects that separate() kept, and returns the label in the middle of it.
  std::uint64_t join() const;

private:
  struct Image;
  std::unique_ptr<Image> image_;
};

}  // namespace bench
