#include "quarn/voxora/nodes/detail/storedCells.h"

#include <atomic>
#include <memory>
#include <span>
#include <tbb/concurrent_queue.h>
#include <tbb/parallel_pipeline.h>
#include <tbb/task_arena.h>

#include "quarn/voxora/tiles/detail/TileSource.h"

namespace hxvoxora::detail {

namespace {

/// Batches that may be packed and waiting at once.
constexpr std::size_t batchesInFlight = 64;

/// Bytes of tiles taken over at once, as long as they are more than one.
constexpr std::uint64_t batchBytes = std::uint64_t{1} << 18;

using Cells = std::span<const StoredCell>;

class CellPacker {
public:
  CellPacker(const TileGrid& grid, const VolumeHeader& header) : grid_(grid), header_(header) {}

  /// The cells at the front that are packed together.
  Cells batch(Cells cells) const {
    const TileSource* source = sourceToCopy(cells.front());
    std::uint64_t bytes = 0;
    std::size_t count = 1;
    if (!source) return cells.first(count);
    for (bytes = storedBytes(cells.front()); count < cells.size(); ++count) {
      if (sourceToCopy(cells[count]) != source) break;
      bytes += storedBytes(cells[count]);
      if (bytes > batchBytes) break;
    }
    return cells.first(count);
  }

  /// Uses the memory of `packed` again.
  void pack(Cells cells, CompressedTiles& packed) const {
    if (const TileSource* source = sourceToCopy(cells.front())) return copy(source->reader(), cells, packed);
    // A tile that was not in memory does not get there by being saved; one of a lower level is soon wanted by the next.
    const StoredCell& stored = cells.front();
    const Ref<const TilePayload> payload = stored.level == 0 ? stored.cell->pinForOnce() : stored.cell->pin();
    CompressedTile tile = TiledFileWriter::compress({payload->bits(), payload->byteSize()}, header_);
    const auto length = static_cast<std::uint32_t>(tile.bytes.size());
    packed.tiles.assign(1, {stored.tile, length, tile.form, tile.checksum});
    packed.bytes = std::move(tile.bytes);
  }

  /// The bytes that the cells take at least.
  std::uint64_t leastBytes(Cells cells) const {
    std::uint64_t bytes = 0;
    for (const StoredCell& stored : cells) {
      if (sourceToCopy(stored)) {
        bytes += storedBytes(stored);
      } else if (header_.compression == TileCompression::none) {
        bytes += header_.tileBytes();
      }
    }
    return bytes;
  }

private:
  /// The file from which the cell is taken as it is; null when it has to be packed.
  const TileSource* sourceToCopy(const StoredCell& stored) const {
    const TileSource* source = stored.cell->source();
    const bool fits = source && source->grid() == grid_ && source->reader().header().compression == header_.compression;
    return fits ? source : nullptr;
  }

  static std::uint64_t storedBytes(const StoredCell& stored) {
    return stored.cell->source()->reader().storedBytes(stored.cell->tileInSource());
  }

  static void copy(const TiledFileReader& reader, Cells cells, CompressedTiles& packed) {
    std::vector<std::uint64_t> numbers;
    numbers.reserve(cells.size());
    for (const StoredCell& stored : cells) numbers.push_back(stored.cell->tileInSource());
    reader.readCompressed(numbers, packed);
    for (std::size_t i = 0; i < cells.size(); ++i) packed.tiles[i].number = cells[i].tile;
  }

  const TileGrid& grid_;
  const VolumeHeader& header_;
};

}  // namespace

bool writeCells(const std::vector<StoredCell>& cells, const TileGrid& grid, TiledFileWriter& writer,
                const std::function<bool(double)>& progress) {
  using Packed = std::shared_ptr<CompressedTiles>;
  using tbb::filter_mode;
  const CellPacker packer(grid, writer.header());
  writer.requireSpace(packer.leastBytes(cells));
  Cells rest = cells;
  std::size_t written = 0;
  std::atomic<bool> cancelled = false;
  const auto take = [&](tbb::flow_control& control) {
    Cells batch;
    if (rest.empty() || cancelled) {
      control.stop();
    } else {
      batch = packer.batch(rest);
      rest = rest.subspan(batch.size());
    }
    return batch;
  };
  tbb::concurrent_queue<Packed> spare;  // fresh memory would cost as much as the copying
  const auto pack = [&](Cells batch) {
    Packed packed;
    if (!spare.try_pop(packed)) packed = std::make_shared<CompressedTiles>();
    packer.pack(batch, *packed);
    return packed;
  };
  const auto tell = [&](std::size_t count) {
    while (progress && !cancelled && count-- > 0) {
      ++written;
      if (!progress(static_cast<double>(written) / static_cast<double>(cells.size()))) cancelled = true;
    }
  };
  const auto write = [&](const Packed& packed) {
    writer.putCompressed(*packed);
    const std::size_t count = packed->tiles.size();
    spare.push(packed);
    tell(count);
  };
  tbb::this_task_arena::isolate([&] {
    tbb::parallel_pipeline(batchesInFlight, tbb::make_filter<void, Cells>(filter_mode::serial_in_order, take) &
                                                tbb::make_filter<Cells, Packed>(filter_mode::parallel, pack) &
                                                tbb::make_filter<Packed, void>(filter_mode::serial_in_order, write));
  });
  return !cancelled;
}

}  // namespace hxvoxora::detail
