#pragma once

#include "hxroi/export.h"
#include "quarn/kernel/fields/HxISetOfVolumeMask.h"
#include "quarn/kernel/fields/HxPlaced.h"

class HxRois;
class HxRoiSelector;

namespace hxroi::details {
class Mask;
}

/// What the renderer asks of a selector: the masks of its set, of which the checked ones are to be drawn. Volumes and
/// masks are paired by HxRoiToHxVolumeDataRegistry.
///
/// Without a set every answer is null or empty. A volume that belongs to no mask of the set, and a visible mask that
/// has left the set since the selector was evaluated, give std::out_of_range with "bimap<>: invalid key".
class HXROI_API HxSetOfVolumeMaskFromHxRoiSelector : public HxISetOfVolumeMask, public HxPlaced {
public:
  MC_CLASS_DECL(HxSetOfVolumeMaskFromHxRoiSelector)

  /// `owner` is a selector.
  explicit HxSetOfVolumeMaskFromHxRoiSelector(McInterfaceOwner* owner);
  ~HxSetOfVolumeMaskFromHxRoiSelector() override;

  /// What the "data" of the set is connected to.
  HxISetOfVolumeData* doGetReferenceVolumeData() const override;
  VolumeList doGetVisibleVolumeMask() const override;
  /// The address of the set.
  const void* doGetUniqueIdentifier() const override;
  /// Of the button "volume" DRAW_VOLUME, of "boundary" DRAW_BOUNDARY.
  std::optional<DrawStyle> doGetOverlappingDrawStyle() const override;
  const HxColormap* doGetOverlappingColormap() const override;
  std::optional<McColor> doGetOverlappingColor() const override;
  std::optional<Range> doGetOverlappingColormapRange() const override;
  /// True without a set, and for a set that is provided by something else.
  bool doGetOverlappingColormapAlphaEnabled() const override;
  /// The set is flushed first, which throws McException when that fails.
  VolumeList doGetVolumeMask() const override;
  QString doGetVolumeMaskName(const HxVolumeData* volume) const override;
  const HxColormap* doGetVolumeMaskColormap(const HxVolumeData* volume) const override;
  std::optional<Range> doGetVolumeMaskColormapRange(const HxVolumeData* volume) const override;
  McColor doGetVolumeMaskColor(const HxVolumeData* volume) const override;
  /// True for a mask without colormap.
  bool doGetVolumeMaskColormapAlphaEnabled(const HxVolumeData* volume) const override;

  /// Of the set: that of its field or, without one, the place that it remembers.
  std::optional<HxGeometry3> place() const override;

private:
  HxRoiSelector* selector() const;
  HxRois* rois() const;
  const hxroi::details::Mask* maskOf(const HxVolumeData* volume) const;
};
