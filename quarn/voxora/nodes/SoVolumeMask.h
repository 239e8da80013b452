#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "quarn/voxora/bits/TruthTable.h"
#include "quarn/voxora/export.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/nodes/SoVolumeData.h"
#include "quarn/voxora/tiles/TileSnapshot.h"
#include "quarn/voxora/tiles/WorkCallback.h"

class SoCpuBufferBitSet;

/// A volume of one bit per voxel, kept in tiles: tiles that are all clear or all set take no memory for voxels, others
/// are shared between masks until one of them changes.
///
/// Threads: reading (data access, snapshot(), computeBoundingBox(), countSetVoxels(), dimensions) is safe from any
/// thread at any time and takes no lock. Everything that changes the node is for one thread at a time; the callers'
/// edit mutex sees to that. Readers see each transaction whole or not at all.
///
/// Work on many tiles runs on the TBB workers, isolated from other tasks of the calling thread, so that a caller may
/// hold a mutex. Results do not depend on the number of threads.
class QUARN_VOXORA_API SoVolumeMask : public SoVolumeData {
public:
  /// Told how much of a save is done, from 0 to 1, one call at a time but from any thread; false gives the save up.
  using SaveCallback = std::function<bool(double fractionDone)>;

  /// A node without data: dimensions (0, 0, 0), default value false. Files are read and written on the file system of
  /// the process.
  SoVolumeMask();

  /// The same on another file system, which must outlive the node and what its snapshots share.
  explicit SoVolumeMask(hxvoxora::FileSystem& fileSystem);

  /// Voxels of tiles that were never written read as this value. Neither an edit nor a change of stored tiles.
  void setDefaultValue(bool value);
  bool defaultValue() const;

  /// Starts over with a volume in memory that has no written tile, no file name and no unsaved edits; the default value
  /// stays. Throws McException when the grid is not possible (see hxvoxora::TileGrid); the node is then unchanged.
  void initializeInMemory(const SbVec3i32& dimensions, const SbVec3i32& tileDimensions, int reserved = 0);

  /// @name Editing
  /// Edits are made between beginTransaction() and endTransaction() and show only after the latter. Boxes must lie
  /// inside the volume, else McException; an empty box changes nothing. A tile that cannot be read from its file is an
  /// McException too. After an exception the transaction is still open, and as before the edit that failed:
  /// abortTransaction() gives all of it up, and what readers see was never changed. A box counts as edited even when no voxel changes.
  /// @{

  /// Starts a transaction and returns its number, which is never 0. McException when one is open.
  int beginTransaction();

  /// Sets (value other than 0) or clears a box. All of its tiles count as written afterwards.
  void fillBox(const SbBox3i32& box, double value);

  /// Replaces a box by the bits of a buffer of at least as many bits, mapped or not, laid out as SoCpuBufferBitSet
  /// describes. All of its tiles count as written afterwards.
  void replaceBox(const SbBox3i32& box, const SoCpuBufferBitSet* bits);

  /// this = f(this, other) inside a box that lies in both volumes. `other` is read as its last finished transaction
  /// left it; the node itself as `other` stands for the state of this transaction. Tiles whose result follows from
  /// constants are settled without touching voxels, tiles taken over unchanged are shared. The tile dimensions of both
  /// may differ.
  void combineBox(const SbBox3i32& box, const SoVolumeMask& other, hxvoxora::TruthTable f);

  /// The same with a content that no node has. A snapshot of the node itself is what it was when that was taken.
  void combineBox(const SbBox3i32& box, const hxvoxora::TileSnapshot& other, hxvoxora::TruthTable f);

  /// Inverts a box.
  void invertBox(const SbBox3i32& box);

  /// Grows the set voxels by their six face neighbours, so many times; nothing grows over the end of the volume. Tiles
  /// that do not change are not touched. False when `progress` gave up: the transaction is then as before.
  bool dilate(std::uint64_t iterations, const hxvoxora::WorkCallback& progress = {});

  /// Clears the set voxels that have a clear one among their six face neighbours, so many times; what lies outside of
  /// the volume counts as clear. Otherwise as dilate().
  bool erode(std::uint64_t iterations, const hxvoxora::WorkCallback& progress = {});

  /// Makes the edits visible; with at least one edit the node has unsaved edits. McException for a number that is not
  /// that of the open transaction.
  void endTransaction(int id);

  /// Drops the edits. McException for a number that is not that of the open transaction.
  void abortTransaction(int id);
  /// @}

  /// True after a finished transaction with at least one edit, until the node is saved, bound or initialised.
  bool hasUnsavedEdits() const;

  /// Writes the volume to a new file set (`ldmPath` and its data and index files beside it) and binds the node to it:
  /// fileName() is `ldmPath`, there are no unsaved edits, voxels in memory stay there. The header is a fresh one;
  /// elements that others added to an older file are not taken over. Saving onto the file that is bound now is safe:
  /// the new files are written beside and renamed. Tiles that stand in a file already are copied as they are.
  ///
  /// `parameters`: "-c" followed by "gzip" compresses the tiles, without it they are stored as they are; other words of
  /// the converter ("-q", "-B", "-noHistogramForceTileMinMax") and unknown ones change nothing. With `allLevels` the
  /// file gets all levels, without it level 0 only, from which others can be worked out.
  ///
  /// Nothing happens for an empty path, for a node without voxels, and for a node without unsaved edits whose bound
  /// file is `ldmPath` and has the levels that are asked for. A node without unsaved edits is written to any other
  /// path.
  ///
  /// `access` says who may use the new files, `durability` whether they are brought to stable storage. The name of the
  /// node goes into the header when it is one that a header can hold (see VolumeHeader::contentName).
  ///
  /// Returns false when `callback` gave up, true otherwise. Throws McException when writing fails, a tile cannot be
  /// read, or a transaction is open. In both cases the node is as it was, and so are the old files, unless all that
  /// failed was to bring the folder to stable storage or to open the new set: that one is in place then.
  bool saveEditing(const std::string& ldmPath, bool allLevels, const std::vector<std::string>& parameters,
                   const SaveCallback& callback = nullptr,
                   hxvoxora::FileSystem::Access access = hxvoxora::FileSystem::Access::ownerOnly,
                   hxvoxora::FileSystem::Durability durability = hxvoxora::FileSystem::Durability::lasting);

  /// Binds the node to a file as setFileName() does, but throws McException when the file cannot be read; the node is
  /// then as before.
  void bindTo(const std::string& path);

  /// The content as the last finished transaction left it, in one of the levelCount() levels: those below 0 have half
  /// the voxels of the one before along each axis, rounded up, and a voxel is set when any of its eight is. They come
  /// from the file when it has them, else they are worked out tile by tile as they are read. McException for other
  /// levels.
  hxvoxora::TileSnapshot snapshot(int level = 0) const;
  int levelCount() const override;

  /// The smallest box around the set voxels inside `region`; SbBox3i32() when there are none.
  SbBox3i32 computeBoundingBox(const SbBox3i32& region) const;

  /// The number of set voxels inside `region`.
  std::uint64_t countSetVoxels(const SbBox3i32& region) const;

  int bitsPerVoxel() const override { return 1; }
  SbVec3i32 dataDimension() const override;
  SbVec3i32 getTileDimension() const override;
  SoVolumeReader* reader() const override;
  void setFileName(const std::string& path) override;
  const std::string& fileName() const override;
  const std::string& fileError() const override;

protected:
  ~SoVolumeMask() override;

private:
  struct State;

  void fetchBox(int level, const SbBox3i32& box, SoCpuBufferObject& buffer) const override;

  std::unique_ptr<State> state_;
};
