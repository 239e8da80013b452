#include "hxroi/detail/savedBytes.h"

#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/VolumeHeader.h"
#include "quarn/voxora/files/fileSetParts.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace hxroi {

using details::Mask;
using hxvoxora::FileSystem;

std::uint64_t savedBytes(const Mask& mask, const std::string& prefix) {
  const SoVolumeMask& node = *mask.volumeMask();
  const bool hasContent = node.hasUnsavedEdits() || !node.fileName().empty();
  try {
    if (!hasContent || mask.readsUnchanged(prefix)) return 0;
    mask.flush(Mask::Force | Mask::AllLevels);
    FileSystem& files = FileSystem::current();
    const std::string& header = node.fileName();
    const auto content = hxvoxora::VolumeHeader::read(files, header);
    return files.openForReading(header, FileSystem::Links::follow)->identity().size +
           hxvoxora::openDataFile(files, header, content)->identity().size +
           hxvoxora::openIndexFile(files, header, content)->identity().size;
  } catch (const McException&) {
    return 0;
  }
}

}  // namespace hxroi
