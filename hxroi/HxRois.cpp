#include "hxroi/HxRois.h"

#include <QCoreApplication>
#include <algorithm>
#include <exception>
#include <optional>
#include <utility>

#include "hxroi/HxRoiToHxVolumeDataRegistry.h"
#include "hxroi/HxRoisColorInformation.h"
#include "hxroi/detail/SetPlace.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/Roi.h"
#include "hxroi/details/logFailure.h"
#include "quarn/base/McBox3f.h"
#include "quarn/base/McException.h"
#include "quarn/base/mcinterface_cast.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/fields/geometryParameters.h"
#include "quarn/kernel/objects/HxEditor.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/objects/hxconnection_cast.h"
#include "quarn/voxora/readers/SoVRLdmFileReader.h"
#include "quarn/voxora/tiles/Ref.h"

using hxroi::details::Mask;

namespace {

constexpr unsigned int kContent = 8;
constexpr unsigned int kSelection = 512;
constexpr unsigned int kWorthSaving = 8 | 16 | 64 | 128;
constexpr unsigned int kAllFlags = 0xFFFFFFFF;
constexpr unsigned int kObjectFlag = 16;

QString tr(const char* text) {
  return QCoreApplication::translate("HxRois", text);
}

}  // namespace

MC_CLASS_IMPL(HxRois, HxData)

HxRois::HxRois()
    : portData(this, "data", tr("Data"), HxUniformScalarField3::getClassTypeId()),
      portOverlappingProperties(this, "overlappingProperties", tr("Overlapping Properties")),
      portOverlappingRenderingStyle(this, "overlappingRenderingStyle", tr("Rendering Style"), 2),
      portOverlappingBoundaryColor(this, "overlappingBoundaryColor", tr("Color"), 1),
      portOverlappingVoltexColormap(this, "overlappingVoltexColormap"),
      portRoiProperties(this, "roiProperties", tr("Roi Properties")),
      portRoiVisibility(this, "roiVisibility", tr("Roi Visibility"), HxPortRoiTreeView::ROIS_MODULE),
      dataCheck_(this) {
  portData.setTightness(true);
  portData.setChecker(&dataCheck_);
  portOverlappingRenderingStyle.setLabel(kVolumeStyle, tr("volume"));
  portOverlappingRenderingStyle.setLabel(kBoundaryStyle, tr("boundary"));
  portOverlappingRenderingStyle.setValue(kBoundaryStyle);
  portOverlappingBoundaryColor.hide();
  portOverlappingVoltexColormap.hide();
  portOverlappingVoltexColormap.setDefaultColor(McColor(1, 1, 1));
  portOverlappingVoltexColormap.setDefaultAlpha(0.5F);
  portOverlappingVoltexColormap.setLocalRangeActive(true);
  portRoiVisibility.setHxRois(this);
  setObjectFlag(kObjectFlag, false);
  HxObjectPool::instance().addListener(this);
  HxRoiToHxVolumeDataRegistry::registerHxRois(this);
  isRegistered_ = true;
}

HxRois::~HxRois() {
  isRegistered_ = false;
  HxRoiToHxVolumeDataRegistry::unregisterHxRois(this);
  const RoiList all = std::exchange(rois_, {});
  for (const RoiHandle& roi : all) {
    try {
      notifyRoiRemove(indexedName(*roi));
      roi->setColormap(nullptr);
    } catch (const std::exception& failure) {
      hxroi::details::logFailure("A ROI does not leave its dying set", failure.what());
    }
  }
  for (const auto& [name, roi] : index_) roi->forgetHxRois(this);
}

// --- The "data" connection ----------------------------------------------------------------------------------------

bool HxRois::PortDataConnectionCheck::operator()(const HxObject* object) {
  try {
    ensureCompatibleWith(object);
    return true;
  } catch (const McException&) {
    return false;
  }
}

QString HxRois::PortDataConnectionCheck::reason(const HxObject* object) const {
  try {
    ensureCompatibleWith(object);
    return {};
  } catch (const McException& refusal) {
    return hxText(refusal);
  }
}

void HxRois::PortDataConnectionCheck::ensureCompatibleWith(const HxObject* object) const {
  const auto* field = mcinterface_cast<HxUniformScalarField3>(object);
  if (!field) {
    const QString label = object ? object->getLabel() : QString();
    throw hxException(tr("%1% is not an uniform scalar field 3.").arg(label));
  }
  if (!rois_->masks().empty()) rois_->masks().front()->ensureCompatibleWith(*field);
}

bool HxRois::acceptConnection(HxConnection* connection, HxObject* source) {
  if (!HxData::acceptConnection(connection, source)) return false;
  if (connection != &portData || !source) return true;
  try {
    dataCheck_.ensureCompatibleWith(source);
    return true;
  } catch (const McException& refusal) {
    if (HxApplication::instance()->isLoadingNetwork()) HxMessage::error(hxText(refusal));
    return false;
  }
}

void HxRois::getBoundingBox(float box[6]) {
  if (auto* field = hxconnection_cast<HxUniformScalarField3>(portData)) {
    field->getBoundingBox(box);
    return;
  }
  McBox3f remembered;
  if (const std::optional<HxGeometry3> place = masks().empty() ? std::nullopt : hxroi::placeOf(*this)) {
    const McVec3i& grid = dimensions();
    remembered = boxOfLattice(*place, {grid.x, grid.y, grid.z});
  }
  std::copy_n(remembered.data(), 6, box);
}

// --- The cycle ----------------------------------------------------------------------------------------------------

void HxRois::touch(unsigned int flags) {
  if (flags & kContent) {
    HxData::touch(flags);
  } else {
    mark(flags);
  }
}

void HxRois::setModified(unsigned int flags) {
  if (flags == 0 || (flags & kWorthSaving)) {
    HxData::setModified(flags == 0 ? 0 : kAllFlags);
  } else {
    setModifiedState(false);
  }
}

void HxRois::onEditorChanged() {
  const bool free = getEditor() == nullptr;
  portData.allowEditing(free);
  baseConnection.allowEditing(free);
}

void HxRois::objectSelected(HxObject* object) {
  if (object != this) return;
  portRoiVisibility.touch(kSelection);
  fire(1);
}

void HxRois::objectAboutToBeRemoved(HxObject* object) {
  if (!dynamic_cast<const HxColormap*>(object)) return;
  for (const auto& [name, roi] : index_) {
    if (roi->colormap(false) == object) roi->setColormap(nullptr);
  }
}

void HxRois::flush(bool final) {
  std::exception_ptr failure;
  for (const Mask* mask : masks_) {
    try {
      mask->flush(final ? 2 : 0);
    } catch (...) {
      if (!failure) failure = std::current_exception();
    }
  }
  if (failure) std::rethrow_exception(failure);
}

void HxRois::saveCreation(FILE* file, const char* directory, unsigned int flags) {
  HxData::saveCreation(file, directory, flags);
  if (file) std::fprintf(file, "\"%s\" fire\n", getName().toUtf8().constData());
}

bool HxRois::hasBorders(const std::string& ldmFile) const {
  const hxvoxora::Ref<SoVRLdmFileReader> reader(new SoVRLdmFileReader);
  return reader->openHeader(ldmFile) && reader->hasTileBorders();
}
