#include <mutex>

#include "hxroi/details/Mask.h"
#include "hxroi/details/NodeFiles.h"
#include "hxroi/details/TemporaryFolder.h"
#include "quarn/base/McException.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/VolumeHeader.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "quarn/voxora/readers/SoLDMReader.h"

namespace hxroi::details {

using hxvoxora::VolumeHeader;

void Mask::checkpoint() {
  if (m_temporaryPrefix.empty()) return;
  const bool hasFile = !m_volumeMask->fileName().empty();
  // Voxels of files that lost their names end with the process.
  const bool isOrphan = hasFile && !NodeFiles::areCurrent(*m_volumeMask);
  if (m_filesUnderPrefix || isOrphan) saveMaskToTemporary();
  if (!ownsTemporaryFiles()) return;
  if (isUnwrittenFull()) return writeUnwrittenFull();
  if (hasFileOfFormerName() || (isOrphan && !NodeFiles::areCurrent(*m_volumeMask))) countAsEdited();
  flush(0);
}

void Mask::keepFiles() {
  m_keepsFiles = true;
  TemporaryFolder::keep(m_temporaryPrefix);
}

/// The name as a header tells it.
std::string Mask::contentName() const {
  return VolumeHeader::isContentName(name()) ? name() : std::string();
}

bool Mask::isUnwrittenFull() const {
  return !hasContent() && m_volumeMask->defaultValue();
}

/// Files that were copied have the name of their source.
bool Mask::hasFileOfFormerName() const {
  if (m_volumeMask->fileName() != m_ldmFilename) return false;
  const auto* reader = dynamic_cast<const SoLDMReader*>(m_volumeMask->reader());
  return reader && reader->header() && reader->header()->contentName != contentName();
}

/// The files are not bound to: to be never written is part of what the mask is.
void Mask::writeUnwrittenFull() const {
  try {
    if (VolumeHeader::read(hxvoxora::FileSystem::current(), m_ldmFilename).contentName == contentName()) return;
  } catch (const McException&) {
    // There is none yet, or a bad one.
  }
  const std::lock_guard lock(m_editMutex);
  m_volumeMask->setName(SbName(name()));
  constexpr bool allLevels = false;
  NodeFiles::write(*m_volumeMask, m_temporaryPrefix, s_saveParameters, allLevels, Access::ownerOnly,
                   Durability::passing);
}

}  // namespace hxroi::details
