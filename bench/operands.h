#pragma once

#include <memory>

#include "bench/peer.h"
#include "bench/volumes.h"
#include "quarn/voxora/bits/TruthTable.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

/// Masks as the bars need them.
namespace bench {

using MaskRef = hxvoxora::Ref<SoVolumeMask>;

/// All voxels of a mask.
SbBox3i32 boxOf(const SoVolumeMask& mask);

/// An empty mask with the tile size that is the default of new volumes.
MaskRef emptyMask(const SbVec3i32& size);

/// A mask with the voxels of a volume.
MaskRef maskOf(const PackedVolume& volume);

/// The head without its skull, each voxel a cube of four a side.
MaskRef enlargedBrain();

/// Runs `edit` as one transaction.
template <class Edit>
void edited(SoVolumeMask& mask, Edit edit) {
  const int transaction = mask.beginTransaction();
  edit();
  mask.endTransaction(transaction);
}

void combine(SoVolumeMask& mask, const SoVolumeMask& other, hxvoxora::TruthTable f);
void invert(SoVolumeMask& mask);

/// A mask that shares all tiles with another.
MaskRef sharedCopy(const SoVolumeMask& mask);

/// A mask with the same voxels in tiles of its own.
MaskRef deepCopy(const SoVolumeMask& mask);

/// Two masks of one kind. Nobody changes them.
class MaskPair {
public:
  explicit MaskPair(const VolumeKind& kind);

  /// The pair of a kind, drawn on the first call.
  static const MaskPair& of(const VolumeKind& kind);

  const SoVolumeMask& ours(int i) const { return *ours_[i]; }

  /// The same with the peer, made on the first call.
  const PeerMask& peer(int i) const;

private:
  MaskRef ours_[2];
  mutable std::unique_ptr<const PeerMask> peers_[2];
};

}  // namespace bench
