#include "quarn/voxora/tiles/detail/SpillStore.h"

#include <utility>
#include <xxhash.h>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/fileNames.h"

namespace hxvoxora::detail {

namespace {

/// A tile in a spill file.
class SpilledTile final : public TileBacking {
public:
  SpilledTile(std::shared_ptr<const SpillFile> file, std::uint64_t offset, const TilePayload& payload,
              std::atomic<std::size_t>& bytesNeeded)
      : file_(std::move(file)),
        offset_(offset),
        checksum_(XXH3_64bits(payload.bits(), payload.byteSize())),
        byteSize_(payload.byteSize()),
        bytesNeeded_(bytesNeeded) {
    bytesNeeded_.fetch_add(byteSize_, std::memory_order_relaxed);
  }
  ~SpilledTile() override { bytesNeeded_.fetch_sub(byteSize_, std::memory_order_relaxed); }

  Ref<const TilePayload> load(std::uint64_t) const override {
    const Ref<TilePayload> payload = TilePayload::make(byteSize_, TilePayload::Purpose::Load);
    file_->read(offset_, checksum_, {payload->bits(), payload->byteSize()});
    return payload;
  }

private:
  const std::shared_ptr<const SpillFile> file_;
  const std::uint64_t offset_;
  const std::uint64_t checksum_;
  const std::size_t byteSize_;
  std::atomic<std::size_t>& bytesNeeded_;
};

}  // namespace

void SpillStore::setPrefix(const std::string& prefix) {
  const std::lock_guard lock(mutex_);
  if (prefix.empty() || folderOf(prefix_) != folderOf(prefix)) current_.reset();
  prefix_ = prefix;
}

std::vector<Ref<const TileBacking>> SpillStore::write(std::span<const Ref<const TilePayload>> payloads,
                                                      std::uint64_t fileBytes) {
  const std::shared_ptr<SpillFile> file = fileWithRoom(fileBytes);
  std::vector<Ref<const TileBacking>> tiles;
  std::vector<std::byte> bytes;
  tiles.reserve(payloads.size());
  for (const Ref<const TilePayload>& payload : payloads) {
    tiles.emplace_back(makeRef<const SpilledTile>(file, file->size() + bytes.size(), *payload, bytesNeeded_));
    bytes.insert(bytes.end(), payload->bits(), payload->bits() + payload->byteSize());
  }
  try {
    file->append(bytes);
  } catch (...) {
    const std::lock_guard lock(mutex_);
    if (current_.lock() == file) current_.reset();
    throw;
  }
  return tiles;
}

std::shared_ptr<SpillFile> SpillStore::fileWithRoom(std::uint64_t fileBytes) {
  const std::lock_guard lock(mutex_);
  if (std::shared_ptr<SpillFile> file = current_.lock()) {
    if (file->size() < fileBytes) return file;
    file->finish();
  }
  if (prefix_.empty()) throw McException("there is no folder for temporary files");
  FileSystem& files = FileSystem::current();
  std::string path;
  do {
    path = prefix_ + ".spill" + std::to_string(++filesMade_);
  } while (files.kind(path) != FileKind::missing);
  auto file = std::make_shared<SpillFile>(files, path);
  current_ = file;
  return file;
}

}  // namespace hxvoxora::detail
