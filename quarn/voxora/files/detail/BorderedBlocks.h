#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "quarn/voxora/files/InputFile.h"
#include "quarn/voxora/files/VolumeHeader.h"
#include "quarn/voxora/files/detail/TileIndex.h"

namespace hxvoxora::detail {

/// The stored tiles of a volume with borders, as they are in the file: unpacked blocks. Those used last are kept.
class BorderedBlocks {
public:
  using Block = std::shared_ptr<const std::vector<std::byte>>;

  /// Keeps blocks of `roomBytes` together, but always two. All references must outlive the object.
  BorderedBlocks(const VolumeHeader& header, const TileIndex& index, const InputFile& data, std::size_t roomBytes);

  /// The block of a stored tile. McException with the reason alone when its bytes are missing or damaged.
  Block get(std::uint64_t tile);

private:
  struct Kept {
    Block block;
    std::list<std::uint64_t>::iterator use;
  };

  Block load(std::uint64_t tile) const;

  const VolumeHeader& header_;
  const TileIndex& index_;
  const InputFile& data_;
  const FileIdentity opened_;
  const std::size_t most_;
  std::unordered_map<std::uint64_t, Kept> kept_;
  std::list<std::uint64_t> uses_;  // the last one used in front
};

}  // namespace hxvoxora::detail
