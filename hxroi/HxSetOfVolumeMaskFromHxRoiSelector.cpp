#include "hxroi/HxSetOfVolumeMaskFromHxRoiSelector.h"

#include "hxroi/HxRoiSelector.h"
#include "hxroi/HxRoiToHxVolumeDataRegistry.h"
#include "hxroi/HxRois.h"
#include "hxroi/detail/SetPlace.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/mcinterface_cast.h"
#include "quarn/kernel/fields/HxISetOfVolumeData.h"
#include "quarn/kernel/objects/hxconnection_cast.h"

using hxroi::details::Mask;
using Registry = HxRoiToHxVolumeDataRegistry;

MC_ABSTRACT_CLASS_IMPL(HxSetOfVolumeMaskFromHxRoiSelector, HxISetOfVolumeMask)

HxSetOfVolumeMaskFromHxRoiSelector::HxSetOfVolumeMaskFromHxRoiSelector(McInterfaceOwner* owner)
    : HxISetOfVolumeMask(owner) {}

HxSetOfVolumeMaskFromHxRoiSelector::~HxSetOfVolumeMaskFromHxRoiSelector() = default;

HxRoiSelector* HxSetOfVolumeMaskFromHxRoiSelector::selector() const {
  return mcinterface_cast<HxRoiSelector>(owner());
}

HxRois* HxSetOfVolumeMaskFromHxRoiSelector::rois() const {
  const HxRoiSelector* const choice = selector();
  return choice ? choice->getHxRois() : nullptr;
}

/// Null without a set.
const Mask* HxSetOfVolumeMaskFromHxRoiSelector::maskOf(const HxVolumeData* volume) const {
  HxRois* const set = rois();
  if (!set) return nullptr;
  // The registry holds its volumes: one that nobody holds is none of them, and must not die of a handle made here.
  const bool isHeld = volume && volume->refCount() > 0;
  const McHandle<HxVolumeData> key(isHeld ? const_cast<HxVolumeData*>(volume) : nullptr);
  return Registry::getBimapMaskVolumeData(set).right.at(key);
}

// --- Which masks --------------------------------------------------------------------------------------------------

HxISetOfVolumeData* HxSetOfVolumeMaskFromHxRoiSelector::doGetReferenceVolumeData() const {
  const HxRois* const set = rois();
  return set ? hxconnection_cast<HxISetOfVolumeData>(set->portData) : nullptr;
}

HxISetOfVolumeMask::VolumeList HxSetOfVolumeMaskFromHxRoiSelector::doGetVisibleVolumeMask() const {
  VolumeList volumes;
  if (HxRois* const set = rois()) {
    const auto& registered = Registry::getBimapMaskVolumeData(set);
    for (const Mask* mask : selector()->getVisibleMasks()) volumes.push_back(registered.left.at(mask));
  }
  return volumes;
}

HxISetOfVolumeMask::VolumeList HxSetOfVolumeMaskFromHxRoiSelector::doGetVolumeMask() const {
  VolumeList volumes;
  if (HxRois* const set = rois()) {
    set->flush(true);
    for (const auto& entry : Registry::getBimapMaskVolumeData(set).left) volumes.push_back(entry.second);
  }
  return volumes;
}

const void* HxSetOfVolumeMaskFromHxRoiSelector::doGetUniqueIdentifier() const {
  return rois();
}

// --- Shared voxels ------------------------------------------------------------------------------------------------

std::optional<HxISetOfVolumeMask::DrawStyle> HxSetOfVolumeMaskFromHxRoiSelector::doGetOverlappingDrawStyle() const {
  const HxRois* const set = rois();
  const int button = set ? set->portOverlappingRenderingStyle.getValue() : -1;
  if (button == HxRois::kVolumeStyle) return DRAW_VOLUME;
  if (button == HxRois::kBoundaryStyle) return DRAW_BOUNDARY;
  return std::nullopt;
}

const HxColormap* HxSetOfVolumeMaskFromHxRoiSelector::doGetOverlappingColormap() const {
  const HxRois* const set = rois();
  return set ? set->portOverlappingVoltexColormap.colormap() : nullptr;
}

std::optional<McColor> HxSetOfVolumeMaskFromHxRoiSelector::doGetOverlappingColor() const {
  const HxRois* const set = rois();
  return set ? std::optional(set->portOverlappingBoundaryColor.getColor(0)) : std::nullopt;
}

std::optional<HxISetOfVolumeMask::Range> HxSetOfVolumeMaskFromHxRoiSelector::doGetOverlappingColormapRange() const {
  const HxRois* const set = rois();
  if (!set) return std::nullopt;
  const HxPortColormap& port = set->portOverlappingVoltexColormap;
  return Range(port.localMin(), port.localMax());
}

bool HxSetOfVolumeMaskFromHxRoiSelector::doGetOverlappingColormapAlphaEnabled() const {
  const HxRoiSelector* const choice = selector();
  const HxRois* const set = choice ? hxconnection_cast<HxRois>(choice->portData) : nullptr;
  return !set || set->portOverlappingVoltexColormap.isAlphaEnabled();
}

// --- One mask -----------------------------------------------------------------------------------------------------

QString HxSetOfVolumeMaskFromHxRoiSelector::doGetVolumeMaskName(const HxVolumeData* volume) const {
  const Mask* const mask = maskOf(volume);
  return mask ? QString::fromLatin1(mask->name()) : QString();
}

const HxColormap* HxSetOfVolumeMaskFromHxRoiSelector::doGetVolumeMaskColormap(const HxVolumeData* volume) const {
  const Mask* const mask = maskOf(volume);
  return mask ? mask->colormap(true) : nullptr;
}

std::optional<HxISetOfVolumeMask::Range> HxSetOfVolumeMaskFromHxRoiSelector::doGetVolumeMaskColormapRange(
    const HxVolumeData* volume) const {
  const Mask* const mask = maskOf(volume);
  if (!mask || !mask->colormap(true)) return std::nullopt;
  return Range(mask->colormapRange(true));
}

McColor HxSetOfVolumeMaskFromHxRoiSelector::doGetVolumeMaskColor(const HxVolumeData* volume) const {
  const Mask* const mask = maskOf(volume);
  return mask ? mask->color(true) : McColor();
}

bool HxSetOfVolumeMaskFromHxRoiSelector::doGetVolumeMaskColormapAlphaEnabled(const HxVolumeData* volume) const {
  const Mask* const mask = maskOf(volume);
  return !mask || !mask->colormap(true) || mask->isAlphaEnabled();
}

std::optional<HxGeometry3> HxSetOfVolumeMaskFromHxRoiSelector::place() const {
  const HxRois* const set = rois();
  return set ? hxroi::placeOf(*set) : std::nullopt;
}
