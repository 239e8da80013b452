#include "hxroi/details/EditTransaction.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/MaskFiles.h"
#include "hxroi/details/NodeFiles.h"
#include "hxroi/details/toolkitBoxes.h"
#include "quarn/base/McException.h"
#include "quarn/voxora/files/PassingFileSystem.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace hxroi::details {

/// A mask without written voxels holds its initial value only: nothing to copy.
void Mask::store(const Mask& other) {
  const McBox3i box = other.getBoundingBox();
  if (!box.isEmpty() && &other != this && other.hasContent()) {
    const bool isPending = other.m_volumeMask->hasUnsavedEdits();
    if (isPending || !storeFiles(other)) storeVoxels(other, box, !isPending || hasContent());
  }
  setBoundingBox(box);
}

void Mask::storeVoxels(const Mask& other, const McBox3i& box, bool clearFirst) {
  saveMaskToTemporary();
  const SbBox3i32 whole = toToolkit(wholeMaskBox());
  const SbBox3i32 part = toToolkit(intersection(box, wholeMaskBox()));
  inTransaction(*m_volumeMask, m_editMutex, [&] {
    if (clearFirst) m_volumeMask->fillBox(whole, 0.0);
    m_volumeMask->combineBox(part, *other.m_volumeMask, hxvoxora::TruthTable::CopyB);
  });
  touch(8);
}

void Mask::setContent(const hxvoxora::TileSnapshot& content) {
  if (content.dimensions() != m_volumeMask->dataDimension())
    throw McException("The voxels of another grid cannot become those of the mask \"" + name() + "\".");
  saveMaskToTemporary();
  const SbBox3i32 whole = toToolkit(wholeMaskBox());
  inTransaction(*m_volumeMask, m_editMutex,
                [&] { m_volumeMask->combineBox(whole, content, hxvoxora::TruthTable::CopyB); });
  touch(8);
}

/// False when the files of the other mask are no longer those that it reads, or there is no place for copies of them.
bool Mask::storeFiles(const Mask& other) {
  if (!NodeFiles::areCurrent(*other.m_volumeMask)) return false;
  const std::string prefix = getTemporaryPrefix();
  if (prefix.empty()) return false;
  try {
    hxvoxora::PassingFileSystem files(hxvoxora::FileSystem::current());
    MaskFiles::copy(files, MaskFiles::prefixOf(other.m_volumeMask->fileName()), prefix, Access::ownerOnly);
    bindTo(prefix + ".ldm");
  } catch (...) {
    removeFiles(prefix);
    throw;
  }
  if (hasOwnFiles()) removeOwnFiles();
  setTemporaryPrefix(prefix);
  m_filesUnderPrefix = !ownsTemporaryFiles();
  touch(8);
  return true;
}

}  // namespace hxroi::details
