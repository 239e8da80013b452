#pragma once

#include <QImage>
#include <QString>
#include <array>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "quarn/view/MaskSetLook.h"
#include "quarn/view/OverlapCache.h"
#include "quarn/view/PointColorCache.h"
#include "quarn/view/SceneCamera.h"
#include "quarn/view/SceneLayout.h"
#include "quarn/view/ScenePane.h"
#include "quarn/view/SlicePane.h"
#include "quarn/view/SurfaceCache.h"
#include "quarn/view/export.h"

namespace quarn::view {

/// How the 3D pane shows an image.
enum class VolumeMode { Off, Planes, Rendered };

/// All that a picture shows.
struct SceneContents {
  std::vector<ImageLook> images;
  std::vector<VolumeMode> modes;  ///< one for each image
  std::vector<MaskSetLook> sets;
  McDim3l dimensions;  ///< of the lattice that slices lie in
  HxGeometry3 geometry;
  std::array<double, 3> slices{0, 0, 0};  ///< the index of the slice across each axis
  SceneCamera camera;
  QString layout;
  McColor background;
  bool hasMarks = true;  ///< letters for the sides, lines for the other slices
};

/// Draws pictures, and keeps what the next one may need again. For the user-interface thread.
class QUARN_VIEW_API ScenePainter {
public:
  /// Throws McException when the machine has no OpenGL, or when the user gave up.
  QImage paint(const SceneContents& contents, int width, int height, Complaints& complaints);

  /// The camera looks at other things from now on.
  void forgetBounds() { bounds_.reset(); }
  const SurfaceCache& surfaces() const { return surfaces_; }

private:
  QImage paintSpace(const SceneContents& contents, int width, int height, Complaints& complaints);
  QImage paintSlice(const SceneContents& contents, Pane pane, int width, int height, Complaints& complaints);
  void addMasks(const MaskSetLook& set, int level, std::vector<SurfaceLook>& looks, Complaints& complaints);
  void forgetHidden(const SceneContents& contents);
  void setImages(const SceneContents& contents);
  Bounds findBounds(const SceneContents& contents, Complaints& complaints);

  SurfaceCache surfaces_;
  PointColorCache pointColors_;
  std::map<const void*, OverlapCache> overlaps_;  ///< by the owner of the set
  std::optional<Bounds> bounds_;
  std::optional<ColorTransfer> volumeColors_;  ///< of what the space pane renders
  std::uint32_t volumeTime_ = 0;
  std::unique_ptr<ScenePane> space_;
};

}  // namespace quarn::view
