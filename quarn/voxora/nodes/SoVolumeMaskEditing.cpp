#include <algorithm>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "quarn/base/McException.h"
#include "quarn/voxora/nodes/SoCpuBufferBitSet.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "quarn/voxora/nodes/detail/SoVolumeMaskState.h"
#include "quarn/voxora/tiles/TileRuns.h"
#include "quarn/voxora/tiles/detail/TableCombination.h"
#include "quarn/voxora/tiles/detail/boxText.h"
#include "quarn/voxora/tiles/detail/parallel.h"
#include "quarn/voxora/tiles/detail/tileEdits.h"

/// Transactions of a mask and what can be done inside them.

using hxvoxora::BitLayout;
using hxvoxora::Ref;
using hxvoxora::runsOf;
using hxvoxora::TileGrid;
using hxvoxora::TileRun;
using hxvoxora::TruthTable;
using hxvoxora::detail::TableCombination;
using hxvoxora::detail::TileEdit;
using hxvoxora::detail::TileSlot;
using hxvoxora::detail::TileTable;
using hxvoxora::detail::TileTableEditor;

namespace {

/// Results of so many tiles are held back before they go into the table.
constexpr std::size_t tilesAtOnce = std::size_t{1} << 16;

/// Whether a tile that comes out as it was still counts as written from now on.
enum class Unchanged { CountsAsWritten, StaysAsItIs };

/// Gives each of some tiles of a box the content edit(TileEdit, old content), worked out in parallel.
template <typename Edit>
void editEach(TileTableEditor& table, const SbBox3i32& box, const std::vector<std::int64_t>& tiles, Unchanged unchanged,
              Edit edit) {
  const TileGrid& grid = table.grid();
  std::vector<TileSlot> results(tiles.size());
  hxvoxora::detail::parallelFor(static_cast<std::int64_t>(tiles.size()), [&](std::int64_t i) {
    const std::int64_t tile = tiles[static_cast<std::size_t>(i)];
    const TileSlot old = table.content(tile);
    TileSlot result = edit(TileEdit{grid, tile, grid.tileBox(tile).intersection(box)}, old);
    const bool keep = unchanged == Unchanged::StaysAsItIs && result == old;
    results[static_cast<std::size_t>(i)] = keep ? table.slot(tile) : std::move(result);
  });
  for (std::size_t i = 0; i < tiles.size(); ++i) table.set(tiles[i], results[i]);
}

/// editEach() for the tiles of runs, so many at once that their results take little memory.
template <typename Edit>
void editRuns(TileTableEditor& table, const SbBox3i32& box, const std::vector<TileRun>& runs, Unchanged unchanged,
              Edit edit) {
  std::vector<std::int64_t> tiles;
  for (const TileRun& run : runs) {
    for (std::int64_t tile = run.first; tile < run.first + run.count; ++tile) {
      tiles.push_back(tile);
      if (tiles.size() < tilesAtOnce) continue;
      editEach(table, box, tiles, unchanged, edit);
      tiles.clear();
    }
  }
  editEach(table, box, tiles, unchanged, edit);
}

/// The runs that a box holds whole, taken out of a list.
std::vector<TileRun> takeWhole(std::vector<TileRun>& runs) {
  const auto firstWhole =
      std::stable_partition(runs.begin(), runs.end(), [](const TileRun& run) { return !run.whole; });
  std::vector<TileRun> whole(firstWhole, runs.end());
  runs.erase(firstWhole, runs.end());
  return whole;
}

/// Works out all tiles of the runs by `combination`.
void combineRuns(TableCombination combination, const std::vector<TileRun>& runs) {
  for (const TileRun& run : runs) combination.add(run.first, run.count);
  combination.run();
}

}  // namespace

SoVolumeMask::State::Transaction& SoVolumeMask::State::openTransaction() {
  if (!transaction) throw McException("A mask can be changed only inside an editing transaction.");
  return *transaction;
}

SoVolumeMask::State::Transaction& SoVolumeMask::State::openTransaction(int id) {
  if (!transaction || transaction->id != id)
    throw McException("There is no open editing transaction with the number " + std::to_string(id) + ".");
  return *transaction;
}

int SoVolumeMask::beginTransaction() {
  if (state_->transaction)
    throw McException("The editing transaction with the number " + std::to_string(state_->transaction->id) +
                      " is still open.");
  state_->lastTransactionId =
      state_->lastTransactionId == std::numeric_limits<int>::max() ? 1 : state_->lastTransactionId + 1;
  state_->transaction.emplace(State::Transaction{state_->lastTransactionId, TileTableEditor(*state_->table())});
  return state_->lastTransactionId;
}

void SoVolumeMask::endTransaction(int id) {
  State::Transaction& transaction = state_->openTransaction(id);
  if (transaction.edited) {
    state_->content.store(transaction.table.publish());
    state_->levels.contentChanged();
    state_->unsavedEdits = true;
  }
  state_->transaction.reset();
}

void SoVolumeMask::abortTransaction(int id) {
  state_->openTransaction(id);
  state_->transaction.reset();
}

void SoVolumeMask::fillBox(const SbBox3i32& box, double value) {
  const bool set = value != 0;
  state_->edit([&](TileTableEditor& table) {
    hxvoxora::detail::requireInside(box, table.grid());
    std::vector<TileRun> runs = runsOf(table.grid(), box);
    for (const TileRun& run : takeWhole(runs)) table.setRange(run.first, run.count, TileSlot::constant(set));
    editRuns(table, box, runs, Unchanged::CountsAsWritten,
             [set](const TileEdit& edit, const TileSlot& old) { return mapTile(edit, old, set, set); });
  });
}

void SoVolumeMask::replaceBox(const SbBox3i32& box, const SoCpuBufferBitSet* bits) {
  state_->edit([&](TileTableEditor& table) {
    if (!bits) throw McException("A box cannot be replaced without a buffer.");
    hxvoxora::detail::requireRoom(box, table.grid(), bits->getByteSize());
    const BitLayout layout = BitLayout::packed(box);
    editRuns(
        table, box, runsOf(table.grid(), box), Unchanged::CountsAsWritten,
        [&](const TileEdit& edit, const TileSlot& old) { return replaceInTile(edit, old, bits->bytes(), layout); });
  });
}

void SoVolumeMask::combineBox(const SbBox3i32& box, const SoVolumeMask& other, TruthTable f) {
  if (&other != this) return combineBox(box, other.snapshot(), f);
  state_->edit([&](TileTableEditor& table) {
    hxvoxora::detail::requireInside(box, table.grid());
    std::vector<TileRun> runs = runsOf(table.grid(), box);
    combineRuns(TableCombination(table, f), takeWhole(runs));
    editRuns(table, box, runs, Unchanged::StaysAsItIs,
             [f](const TileEdit& edit, const TileSlot& old) { return combineTile(edit, old, old, f); });
  });
}

void SoVolumeMask::combineBox(const SbBox3i32& box, const hxvoxora::TileSnapshot& other, TruthTable f) {
  const TileTable& content = other.table();
  state_->edit([&](TileTableEditor& table) {
    hxvoxora::detail::requireInside(box, table.grid());
    hxvoxora::detail::requireInside(box, content.grid());
    std::vector<TileRun> runs = runsOf(table.grid(), box);
    if (content.grid() == table.grid()) combineRuns(TableCombination(table, content, f), takeWhole(runs));
    editRuns(table, box, runs, Unchanged::StaysAsItIs, [&](const TileEdit& edit, const TileSlot& old) {
      return combineTile(edit, old, contentFrom(content, edit), f);
    });
  });
}

void SoVolumeMask::invertBox(const SbBox3i32& box) {
  state_->edit([&](TileTableEditor& table) {
    hxvoxora::detail::requireInside(box, table.grid());
    std::vector<TileRun> runs = runsOf(table.grid(), box);
    combineRuns(TableCombination(table, TruthTable::NotA), takeWhole(runs));
    editRuns(table, box, runs, Unchanged::StaysAsItIs,
             [](const TileEdit& edit, const TileSlot& old) { return mapTile(edit, old, true, false); });
  });
}
