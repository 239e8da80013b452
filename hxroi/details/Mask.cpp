#include "hxroi/details/Mask.h"

#include <QCoreApplication>
#include <exception>
#include <mutex>

#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/EditTransaction.h"
#include "hxroi/details/NodeFiles.h"
#include "hxroi/details/VolumeNode.h"
#include "hxroi/details/logFailure.h"
#include "hxroi/details/toolkitBoxes.h"
#include "quarn/base/mcinterface_cast.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/fields/HxVolumeData.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "quarn/voxora/utilities/utilities.h"

namespace hxroi::details {

namespace {

QString translated(const char* text) {
  return QCoreApplication::translate("Mask", text);
}

McException wrongTileSize(int tileSize) {
  return hxException(translated(QT_TRANSLATE_NOOP("Mask",
                                                  "Mask is incompatible with data (different tile size).\n"
                                                  "You have to set \"Preferences->LDA->Tile Size\" parameter to %1."))
                         .arg(tileSize));
}

}  // namespace

Mask::Mask(const std::string& name, const McColor& color, const HxColormap* colormap, const McVec3i& dimensions)
    : Roi(name, color, colormap), m_dimensions(dimensions) {}

Mask::Mask(const std::string& name, const Roi& properties, const McVec3i& dimensions)
    : Roi(name, properties), m_dimensions(dimensions) {}

Mask::Mask(const std::string& name, const McVec3i& dimensions, bool initialValue, const McColor& color,
           const HxColormap* colormap)
    : Mask(name, color, colormap, dimensions) {
  m_boundingBox = emptyBox<int>();
  createVolume(initialValue);
}

Mask::Mask(const std::string& name, const Mask& other) : Mask(name, other, other.m_dimensions) {
  m_boundingBox = other.m_boundingBox;
  m_approximatedBoundingBox = other.m_approximatedBoundingBox;
  createVolume(false);
  store(other);
}

Mask::Mask(const std::string& name, SoVolumeMask* volumeMask, const McColor& color, const HxColormap* colormap)
    : Mask(name, color, colormap, McVec3i()) {
  setupTemporaryStorage();
  m_volumeMask = volumeMask;
  m_volumeMask->ref();
  m_volumeMask->setDefaultValue(false);
  m_dimensions = fromToolkit(m_volumeMask->dataDimension());
  adoptHeaderBoxes();
}

Mask::Mask(const Mask& other)
    : Roi(other),
      m_dimensions(other.m_dimensions),
      m_volumeMask(other.m_volumeMask),
      m_temporaryPrefix(other.m_temporaryPrefix),
      m_ldmFilename(other.m_ldmFilename),
      m_datFilename(other.m_datFilename),
      m_ownsTemporaryFiles(other.ownsTemporaryFiles()),
      m_boundingBox(other.m_boundingBox),
      m_approximatedBoundingBox(other.m_approximatedBoundingBox),
      m_holdsNode(false) {}

Mask::~Mask() {
  if (!m_holdsNode || !m_volumeMask) return;
  const bool isLastHolder = releaseVolumeNode(m_volumeMask);
  if (isLastHolder && hasOwnFiles() && !m_keepsFiles) removeOwnFiles();
}

void Mask::removeFiles(const std::string& prefix) noexcept {
  try {
    removeTemporaryFiles(prefix);
  } catch (const std::exception& failure) {
    logFailure("Temporary files of a mask were left", failure.what());
  }
}

void Mask::createVolume(bool initialValue) {
  m_volumeMask = createVolumeNode();
  m_volumeMask->setName(SbName(name()));
  setupTemporaryStorage();
  m_ownsTemporaryFiles = true;
  restartVolume(m_dimensions);
  m_volumeMask->setDefaultValue(initialValue);
}

void Mask::restartVolume(const McVec3i& dimensions) {
  m_volumeMask->initializeInMemory(toToolkit(dimensions), hxvoxora::utilities::computeLDMTileSize(McDim3l(dimensions)),
                                   0);
}

BoxProxy Mask::getConstBox() const {
  return getConstBox({0, 0, 0}, m_dimensions);
}

BoxProxy Mask::getConstBox(const McVec3i& origin, const McVec3i& size) const {
  return {this, origin, size, AccessMode::ReadOnly};
}

BoxProxy Mask::getBox(AccessMode) const {
  return getConstBox();
}

BoxProxy Mask::getBox(const McVec3i& origin, const McVec3i& size, AccessMode) const {
  return getConstBox(origin, size);
}

BoxProxy Mask::getBox(const McVec3i& origin, const McVec3i& size, AccessMode mode) {
  if (mode != AccessMode::ReadOnly) saveMaskToTemporary();
  return {this, origin, size, mode};
}

BoxProxy Mask::getBox(AccessMode) {
  return getBox({0, 0, 0}, m_dimensions, AccessMode::ReadWrite);
}

Mask& Mask::operator=(bool value) {
  saveMaskToTemporary();
  const SbBox3i32 whole = toToolkit(wholeMaskBox());
  inTransaction(*m_volumeMask, m_editMutex, [&] { m_volumeMask->fillBox(whole, value ? 1.0 : 0.0); });
  m_boundingBox = value ? wholeMaskBox() : emptyBox<int>();
  m_approximatedBoundingBox.clear();
  return *this;
}

Mask& Mask::operator=(const Mask& other) {
  if (&other == this) return *this;
  if (m_dimensions != other.m_dimensions) {
    if (!owners().empty()) {
      throw hxException(translated(QT_TRANSLATE_NOOP(
          "Mask", "Cannot copy content of new mask inside HxRois already owned mask (size differs).")));
    }
    assignResized(other);
  } else {
    store(other);
  }
  return *this;
}

/// Reads everything before it changes anything; after that there is nothing left to be read from files.
void Mask::assignResized(const Mask& other) {
  const McBox3i box = other.getBoundingBox();
  NodeHolder voxels;
  if (!box.isEmpty() && other.hasContent()) voxels = NodeFiles::copyInMemory(*other.m_volumeMask);
  changeDimensions(other.m_dimensions);
  const SbBox3i32 whole = toToolkit(wholeMaskBox());
  if (voxels) {
    inTransaction(*m_volumeMask, m_editMutex,
                  [&] { m_volumeMask->combineBox(whole, *voxels, hxvoxora::TruthTable::CopyB); });
  }
  touch(8);
  setBoundingBox(box);
}

/// The mask is then an empty one of its own in memory, whatever file it read before.
void Mask::changeDimensions(const McVec3i& dimensions) {
  const bool hadFiles = hasOwnFiles();
  {
    const std::lock_guard lock(m_editMutex);
    restartVolume(dimensions);
    m_volumeMask->setDefaultValue(false);
  }
  m_dimensions = dimensions;
  if (hadFiles) removeOwnFiles();
  m_filesUnderPrefix = false;
  m_ownsTemporaryFiles = true;
  m_boundingBox = emptyBox<int>();
  m_approximatedBoundingBox.clear();
}

void Mask::touch(int flags) {
  touch(flags, (flags & 8) != 0);
}

void Mask::touch(int flags, bool contentChanged) {
  if (contentChanged) forgetBoxes();
  Roi::touch(flags);
}

void Mask::ensureCompatibleWith(const Mask& other) const {
  if (m_dimensions != other.m_dimensions) {
    throw hxException(translated(QT_TRANSLATE_NOOP("Mask", "Masks are incompatible (different dimension)")));
  }
  const int tileSize = m_volumeMask->getTileDimension()[0];
  if (tileSize != other.m_volumeMask->getTileDimension()[0]) throw wrongTileSize(tileSize);
}

void Mask::ensureCompatibleWith(const HxUniformScalarField3& field) const {
  if (McDim3l(m_dimensions) != field.latticeDimensions()) {
    throw hxException(translated(QT_TRANSLATE_NOOP("Mask", "Mask is incompatible with data (different dimension)")));
  }
  const auto* volume = mcinterface_cast<HxVolumeData>(&field);
  if (!volume || !volume->getVolumeNode()) return;
  const int tileSize = m_volumeMask->getTileDimension()[0];
  if (tileSize != volume->getVolumeNode()->getTileDimension()[0]) throw wrongTileSize(tileSize);
}

}  // namespace hxroi::details
