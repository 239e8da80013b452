#include "hxroi/details/NodeFiles.h"

#include "hxroi/details/boxes.h"
#include "hxroi/details/toolkitBoxes.h"
#include "quarn/base/McDim3l.h"
#include "quarn/base/McException.h"
#include "quarn/voxora/files/VolumeHeader.h"
#include "quarn/voxora/files/fileSetParts.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "quarn/voxora/readers/SoLDMReader.h"
#include "quarn/voxora/utilities/utilities.h"

namespace hxroi::details::NodeFiles {

namespace {

NodeHolder copyWithTiles(const SoVolumeMask& node, const SbVec3i32& tileSize) {
  NodeHolder copy(createVolumeNode());
  copy->initializeInMemory(node.dataDimension(), tileSize);
  const int id = copy->beginTransaction();
  copy->combineBox(toToolkit(hxroi::wholeBox(fromToolkit(node.dataDimension()))), node, hxvoxora::TruthTable::CopyB);
  copy->endTransaction(id);
  return copy;
}

}  // namespace

bool areCurrent(const SoVolumeMask& node) {
  const auto* reader = dynamic_cast<const SoLDMReader*>(node.reader());
  if (!reader || !reader->file()) return false;
  try {
    hxvoxora::FileSystem& files = hxvoxora::FileSystem::current();
    const auto present = hxvoxora::VolumeHeader::read(files, node.fileName());
    if (present.generation != reader->file()->header().generation) return false;
    const auto data = hxvoxora::openDataFile(files, node.fileName(), present);
    if (data->identity() != reader->file()->dataIdentity()) return false;
    // The node has read its index; who copies the files or reads them next needs the one on disk.
    const auto index = hxvoxora::openIndexFile(files, node.fileName(), present);
    return index->identity() == reader->file()->indexIdentity();
  } catch (const McException&) {
    return false;
  }
}

NodeHolder copyInMemory(const SoVolumeMask& node) {
  const McDim3l dimensions(fromToolkit(node.dataDimension()));
  return copyWithTiles(node, hxvoxora::utilities::computeLDMTileSize(dimensions));
}

void write(const SoVolumeMask& node, const std::string& prefix, const std::vector<std::string>& parameters,
           bool allLevels, Access access, Durability durability) {
  const NodeHolder copy = copyWithTiles(node, node.getTileDimension());
  copy->setName(node.getName());
  copy->saveEditing(prefix + ".ldm", allLevels, parameters, nullptr, access, durability);
}

}  // namespace hxroi::details::NodeFiles
