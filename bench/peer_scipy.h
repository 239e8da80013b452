#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "quarn/voxora/tiles/TileSnapshot.h"

/// SciPy's binary morphology beside ours, in a process of its own that keeps the voxels as an array of bytes. It has
/// one thread. Optional: without Python's scipy at run time there is no peer.
namespace bench {

class ScipyPeer {
public:
  /// False when there is no SciPy; nothing else may be called then.
  static bool isAvailable();

  /// Hands the voxels over; throws std::runtime_error when that fails.
  explicit ScipyPeer(const hxvoxora::TileSnapshot& content);
  ScipyPeer(const ScipyPeer&) = delete;
  ScipyPeer& operator=(const ScipyPeer&) = delete;
  ~ScipyPeer();

  /// Dilates or erodes the voxels, and tells how many are set then; counting them takes a hundredth of the time.
  std::uint64_t grow(int iterations, bool isErosion);

private:
  std::string answer();

  int process_ = -1;
  std::FILE* orders_ = nullptr;
  std::FILE* answers_ = nullptr;
};

}  // namespace bench
