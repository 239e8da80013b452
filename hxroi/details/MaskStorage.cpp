#include <iterator>
#include <mutex>

#include "hxroi/details/EditTransaction.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/MaskFiles.h"
#include "hxroi/details/NodeFiles.h"
#include "hxroi/details/TemporaryFolder.h"
#include "hxroi/details/toolkitBoxes.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "quarn/voxora/tiles/MemoryBudget.h"

namespace hxroi::details {

namespace {

constexpr const char* g_saveParametersList[] = {"-q", "-noHistogramForceTileMinMax", "-c", "gzip", "-B"};

}  // namespace

int Mask::m_temporaryStorageCount = 0;
McMutex Mask::s_temporaryPrefixMutex;
const std::vector<std::string> Mask::s_saveParameters(std::begin(g_saveParametersList), std::end(g_saveParametersList));

std::string Mask::getTemporaryPrefix() {
  try {
    const std::lock_guard lock(s_temporaryPrefixMutex);
    for (;;) {
      if (const auto prefix = TemporaryFolder::prefix(m_temporaryStorageCount++)) return *prefix;
    }
  } catch (const TemporaryFolder::Refused& refused) {
    // Shown without the mutex: the message may run events.
    TemporaryFolder::showAccessErrorAndQuit(refused.folder());
  }
  return {};
}

void Mask::setupTemporaryStorage() {
  setTemporaryPrefix(getTemporaryPrefix());
}

void Mask::setTemporaryPrefix(const std::string& prefix) {
  const std::lock_guard lock(m_storageMutex);
  m_temporaryPrefix = prefix;
  if (prefix.empty()) return;
  m_ldmFilename = prefix + ".ldm";
  m_datFilename = prefix + ".dat";
  hxvoxora::setSpillPrefix(prefix);
}

void Mask::saveMaskToTemporary() {
  if (ownsTemporaryFiles()) return;
  const std::lock_guard lock(m_storageMutex);
  if (ownsTemporaryFiles()) return;
  const bool hasFileToKeep = !m_volumeMask->fileName().empty();
  if (hasFileToKeep && !m_temporaryPrefix.empty()) moveToTemporaryFiles();
  m_ownsTemporaryFiles.store(true, std::memory_order_release);
}

/// The mask goes on reading the file that it borrowed when this fails.
void Mask::moveToTemporaryFiles() {
  try {
    writeToFile(m_temporaryPrefix);
    bindTo(m_ldmFilename);
  } catch (...) {
    if (!m_filesUnderPrefix) removeOwnFiles();
    throw;
  }
}

/// A file has a value for every voxel, so that the initial value of the mask means nothing any more.
void Mask::bindTo(const std::string& ldmFile) {
  const std::lock_guard lock(m_editMutex);
  m_volumeMask->bindTo(ldmFile);
  m_volumeMask->setDefaultValue(false);
}

void Mask::flush(int flags) const {
  flush(flags, nullptr);
}

/// False when the callback, which may be empty, gave up; the edits are pending then.
bool Mask::flush(int flags, const hxvoxora::WorkCallback& callback) const {
  if (!ownsTemporaryFiles()) return true;
  if (!m_volumeMask->hasUnsavedEdits()) {
    if (!(flags & Force)) return true;
    if (m_volumeMask->fileName().empty()) {
      writeEveryTile();
    } else if (!NodeFiles::areCurrent(*m_volumeMask)) {
      countAsEdited();
    }
  }
  // Forced, the levels of a saved mask are completed too.
  const bool allLevels = (flags & AllLevels) != 0;
  const std::lock_guard lock(m_editMutex);
  // Should the process die, the name tells the user what was left.
  m_volumeMask->setName(SbName(name()));
  return m_volumeMask->saveEditing(m_ldmFilename, allLevels, s_saveParameters, callback, Access::ownerOnly,
                                   Durability::passing);
}

/// A mask that was never written becomes all zeros in the file, whatever its initial value.
void Mask::writeEveryTile() const {
  const SbBox3i32 whole = toToolkit(wholeMaskBox());
  inTransaction(*m_volumeMask, m_editMutex, [&] {
    m_volumeMask->fillBox(whole, 1.0);
    m_volumeMask->fillBox(whole, 0.0);
  });
}

/// The file that held the voxels is another one now or gone, so that they have to be saved again.
void Mask::countAsEdited() const {
  const SbBox3i32 whole = toToolkit(wholeMaskBox());
  inTransaction(*m_volumeMask, m_editMutex,
                [&] { m_volumeMask->combineBox(whole, *m_volumeMask, hxvoxora::TruthTable::CopyA); });
}

/// Whether there are voxels that were written; others show the initial value only.
bool Mask::hasContent() const {
  return m_volumeMask->hasUnsavedEdits() || !m_volumeMask->fileName().empty();
}

void Mask::removeTemporaryFiles(const path& prefix) {
  MaskFiles::remove(hxvoxora::FileSystem::current(), prefix.string());
}

void Mask::copyMask(const path& sourcePrefix, const path& targetPrefix) {
  MaskFiles::copy(hxvoxora::FileSystem::current(), sourcePrefix.string(), targetPrefix.string());
}

}  // namespace hxroi::details
