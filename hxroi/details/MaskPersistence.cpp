#include <optional>
#include <string>

#include "hxroi/details/Mask.h"
#include "hxroi/details/MaskFiles.h"
#include "hxroi/details/MaskHeader.h"
#include "hxroi/details/NodeFiles.h"
#include "hxroi/details/VolumeNode.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/PassingFileSystem.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "quarn/voxora/readers/SoLDMReader.h"

namespace hxroi::details {

using hxvoxora::FileSystem;
using hxvoxora::PassingFileSystem;

namespace {

/// The header with these boxes; nothing when it cannot be read or edited. The boxes only spare a scan.
std::optional<std::string> headerWithBoxes(FileSystem& files, const std::string& ldmFile,
                                           const std::optional<McBox3i>& exact,
                                           const std::optional<McBox3i>& approximated) {
  try {
    return MaskHeader::withBoxes(MaskFiles::readHeader(files, ldmFile), exact, approximated);
  } catch (const McException&) {
    return std::nullopt;
  }
}

}  // namespace

void Mask::writeToFile(const path& prefix) {
  writeToFile(prefix, nullptr);
}

bool Mask::writeToFile(const path& prefix, const hxvoxora::WorkCallback& goOn) {
  const bool isPrivate = prefix.string() == m_temporaryPrefix;
  const auto access = isPrivate ? Access::ownerOnly : Access::byMask;
  if (m_volumeMask->fileName().empty()) saveMaskToTemporary();
  bool isFlushed = true;
  try {
    flush(Force | AllLevels);
  } catch (const McException&) {
    // The temporary storage may have no room for edits, and the place where they are wanted may have some.
    if (isPrivate || prefix.empty()) throw;
    isFlushed = false;
  }
  if (!isFlushed) {
    NodeFiles::write(*m_volumeMask, prefix.string(), s_saveParameters, true, access, Durability::lasting);
  } else if (!copyContent(prefix.string(), access, isPrivate ? Durability::passing : Durability::lasting, goOn)) {
    return false;
  }
  const auto exact = cachedBoundingBox();
  const auto approximated = cachedApproximatedBoundingBox();
  if (!exact && !approximated) return true;

  PassingFileSystem passing(FileSystem::current());
  FileSystem& files = isPrivate ? passing : FileSystem::current();
  const std::string ldmFile = prefix.string() + ".ldm";
  if (const auto text = headerWithBoxes(files, ldmFile, exact, approximated)) {
    MaskFiles::writeHeader(files, ldmFile, *text, access);
  }
  return true;
}

bool Mask::readsUnchanged(const path& prefix) const {
  const std::string& source = m_volumeMask->fileName();
  return !ownsTemporaryFiles() && !source.empty() && !m_volumeMask->hasUnsavedEdits() &&
         NodeFiles::areCurrent(*m_volumeMask) &&
         MaskFiles::isSameFile(FileSystem::current(), source, prefix.string() + ".ldm");
}

/// Files are copied only while they are those that the node reads and hold all that it shows.
bool Mask::copyContent(const std::string& prefix, Access access, Durability durability,
                       const hxvoxora::WorkCallback& goOn) const {
  if (prefix.empty()) throw McException("The files of mask " + name() + " cannot be written: they have no path");
  if (m_volumeMask->hasUnsavedEdits() || !NodeFiles::areCurrent(*m_volumeMask)) {
    NodeFiles::write(*m_volumeMask, prefix, s_saveParameters, true, access, durability);
    return true;
  }
  PassingFileSystem passing(FileSystem::current());
  FileSystem& files = durability == Durability::passing ? passing : FileSystem::current();
  return MaskFiles::copy(files, MaskFiles::prefixOf(m_volumeMask->fileName()), prefix, access, goOn);
}

Mask* Mask::loadFromFile(const std::string& name, const path& prefix) {
  const NodeHolder node(createVolumeNode());
  node->setName(SbName(name));
  node->setFileName(prefix.string() + ".ldm");
  const McColor color = nextHtmlColor();
  const SbVec3i32 dimensions = node->dataDimension();
  if (dimensions[0] <= 0 || dimensions[1] <= 0 || dimensions[2] <= 0) {
    throw McException("Mask " + name + " cannot be read: " + node->fileError());
  }
  return new Mask(name, node.get(), color, nullptr);
}

void Mask::adoptHeaderBoxes() {
  adoptHeaderBox(MaskHeader::kBoundingBox, m_boundingBox);
  adoptHeaderBox(MaskHeader::kApproximatedBoundingBox, m_approximatedBoundingBox);
}

void Mask::adoptHeaderBox(const char* tag, BoxCache& cache) {
  const auto* reader = dynamic_cast<const SoLDMReader*>(m_volumeMask->reader());
  if (!reader) return;
  const auto text = reader->findHeaderTag(tag);
  if (!text || text->empty()) return;
  const auto box = MaskHeader::parseBox(*text);
  if (box && (*box == emptyBox<int>() || (!box->isEmpty() && wholeMaskBox().contains(*box)))) {
    cache = box;
    return;
  }
  HxMessage::printf("%s: element %s \"%s\": not a box inside the mask; ignored",
                    McException::excerpt(m_volumeMask->fileName()).c_str(), tag, McException::excerpt(*text).c_str());
}

}  // namespace hxroi::details
