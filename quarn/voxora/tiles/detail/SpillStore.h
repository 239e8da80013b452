#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "quarn/voxora/tiles/Ref.h"
#include "quarn/voxora/tiles/TilePayload.h"
#include "quarn/voxora/tiles/detail/SpillFile.h"
#include "quarn/voxora/tiles/detail/TileBacking.h"

namespace hxvoxora::detail {

/// Writes edited tiles into spill files, one after the other. setPrefix() is safe from any thread, write() is for one
/// thread at a time.
class SpillStore {
public:
  /// What the names of files begin with from now on; an empty one stands for no files.
  void setPrefix(const std::string& prefix);

  /// Where tiles can be had that were written; as many as payloads. `fileBytes` is about how large a file may become:
  /// the space of a file comes back when none of its tiles is needed any more. Throws McException when the tiles cannot
  /// be written.
  std::vector<Ref<const TileBacking>> write(std::span<const Ref<const TilePayload>> payloads, std::uint64_t fileBytes);

  /// The bytes of tiles in files, without those that are not needed any more.
  std::size_t bytesNeeded() const { return bytesNeeded_.load(std::memory_order_relaxed); }

private:
  std::shared_ptr<SpillFile> fileWithRoom(std::uint64_t fileBytes);

  std::mutex mutex_;
  std::string prefix_;
  std::uint64_t filesMade_ = 0;
  std::weak_ptr<SpillFile> current_;  // goes with its last tile
  std::atomic<std::size_t> bytesNeeded_ = 0;
};

}  // namespace hxvoxora::detail
