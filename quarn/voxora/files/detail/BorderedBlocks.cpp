#include "quarn/voxora/files/detail/BorderedBlocks.h"

#include <algorithm>
#include <span>
#include <xxhash.h>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/detail/ScratchBytes.h"
#include "quarn/voxora/files/detail/gzip.h"

namespace hxvoxora::detail {

namespace {

void require(bool holds, const std::string& reason) {
  if (!holds) throw McException(reason);
}

void unpack(std::span<const std::byte> packed, std::span<std::byte> out) {
  std::size_t size = 0;
  const std::string objection = gzipDecompress(packed, out, size);
  require(objection.empty(), objection);
  require(size == out.size(), "holds " + std::to_string(size) + " bytes, not " + std::to_string(out.size()));
}

}  // namespace

BorderedBlocks::BorderedBlocks(const VolumeHeader& header, const TileIndex& index, const InputFile& data,
                               std::size_t roomBytes)
    : header_(header),
      index_(index),
      data_(data),
      opened_(data.identity()),
      most_(std::max<std::size_t>(2, roomBytes / header.storedTileBytes())) {}

BorderedBlocks::Block BorderedBlocks::get(std::uint64_t tile) {
  if (const auto found = kept_.find(tile); found != kept_.end()) {
    uses_.splice(uses_.begin(), uses_, found->second.use);
    return found->second.block;
  }
  Block block = load(tile);
  if (kept_.size() == most_) {
    kept_.erase(uses_.back());
    uses_.pop_back();
  }
  uses_.push_front(tile);
  kept_[tile] = {block, uses_.begin()};
  return block;
}

BorderedBlocks::Block BorderedBlocks::load(std::uint64_t tile) const {
  const StoredTile* entry = index_.find(tile);
  require(entry, "is not stored");
  require(data_.identity() == opened_, "the file was changed by somebody else since it was opened");
  thread_local ScratchBytes scratch;
  const std::span<std::byte> bytes = scratch.get(entry->length);
  data_.readFully(entry->offset, bytes);
  require(XXH3_64bits(bytes.data(), bytes.size()) == entry->checksum, "the checksum is wrong");
  auto block = std::make_shared<std::vector<std::byte>>(header_.storedTileBytes());
  if (entry->form == TileForm::raw) {
    std::ranges::copy(bytes, block->begin());
  } else {
    unpack(bytes, *block);
  }
  return block;
}

}  // namespace hxvoxora::detail
