#pragma once

#include <QString>
#include <optional>
#include <utility>
#include <vector>

#include "quarn/base/McColor.h"
#include "quarn/base/McHandle.h"
#include "quarn/base/McInterface.h"
#include "quarn/kernel/export.h"
#include "quarn/kernel/fields/HxVolumeData.h"

class HxColormap;
class HxISetOfVolumeData;

/// Interface of objects that hold volume masks, as the renderer sees it: which volumes to draw, how each of them looks,
/// and how the voxels that several of them share.
///
/// A volume of the answers may outlive its mask; its volume node is null then. Any question may throw
/// std::out_of_range, "bimap<>: invalid key", when it concerns a mask that has gone. For the user-interface thread.
class QUARN_KERNEL_API HxISetOfVolumeMask : public McInterface {
public:
  MC_CLASS_DECL(HxISetOfVolumeMask)

  enum DrawStyle : int {
    DRAW_BOUNDARY = 0,  ///< the outlines of what is shared, in one colour
    DRAW_VOLUME = 1     ///< the inside of what is shared, through a colormap
  };
  using VolumeList = std::vector<McHandle<HxVolumeData>>;
  using Range = std::pair<double, double>;

  /// Attaches the interface to `owner`, which deletes it.
  explicit HxISetOfVolumeMask(McInterfaceOwner* owner);
  ~HxISetOfVolumeMask() override;

  /// What the masks are drawn over; null when there is none.
  HxISetOfVolumeData* getReferenceVolumeData() const { return doGetReferenceVolumeData(); }
  /// The masks to draw, in order.
  VolumeList getVisibleVolumeMask() const { return doGetVisibleVolumeMask(); }
  /// Equal for all objects that show the same masks; null when there are none. Not to be looked into.
  const void* getUniqueIdentifier() const { return doGetUniqueIdentifier(); }

  /// How shared voxels are drawn; empty for: not at all.
  std::optional<DrawStyle> getOverlappingDrawStyle() const { return doGetOverlappingDrawStyle(); }
  /// Null when none is chosen.
  const HxColormap* getOverlappingColormap() const { return doGetOverlappingColormap(); }
  std::optional<McColor> getOverlappingColor() const { return doGetOverlappingColor(); }
  /// Smallest and largest value that the colormap spans.
  std::optional<Range> getOverlappingColormapRange() const { return doGetOverlappingColormapRange(); }
  bool getOverlappingColormapAlphaEnabled() const { return doGetOverlappingColormapAlphaEnabled(); }

  /// All masks, those that are not to be drawn among them. Their files are up to date then.
  VolumeList getVolumeMask() const { return doGetVolumeMask(); }
  QString getVolumeMaskName(const HxVolumeData* mask) const { return doGetVolumeMaskName(mask); }
  /// Null for a mask that is drawn in its colour.
  const HxColormap* getVolumeMaskColormap(const HxVolumeData* mask) const { return doGetVolumeMaskColormap(mask); }
  /// Empty for a mask without colormap.
  std::optional<Range> getVolumeMaskColormapRange(const HxVolumeData* mask) const {
    return doGetVolumeMaskColormapRange(mask);
  }
  McColor getVolumeMaskColor(const HxVolumeData* mask) const { return doGetVolumeMaskColor(mask); }
  bool getVolumeMaskColormapAlphaEnabled(const HxVolumeData* mask) const {
    return doGetVolumeMaskColormapAlphaEnabled(mask);
  }

  virtual HxISetOfVolumeData* doGetReferenceVolumeData() const = 0;
  virtual VolumeList doGetVisibleVolumeMask() const = 0;
  virtual const void* doGetUniqueIdentifier() const = 0;
  virtual std::optional<DrawStyle> doGetOverlappingDrawStyle() const = 0;
  virtual const HxColormap* doGetOverlappingColormap() const = 0;
  virtual std::optional<McColor> doGetOverlappingColor() const = 0;
  virtual std::optional<Range> doGetOverlappingColormapRange() const = 0;
  virtual bool doGetOverlappingColormapAlphaEnabled() const = 0;
  virtual VolumeList doGetVolumeMask() const = 0;
  virtual QString doGetVolumeMaskName(const HxVolumeData* mask) const = 0;
  virtual const HxColormap* doGetVolumeMaskColormap(const HxVolumeData* mask) const = 0;
  virtual std::optional<Range> doGetVolumeMaskColormapRange(const HxVolumeData* mask) const = 0;
  virtual McColor doGetVolumeMaskColor(const HxVolumeData* mask) const = 0;
  virtual bool doGetVolumeMaskColormapAlphaEnabled(const HxVolumeData* mask) const = 0;
};
