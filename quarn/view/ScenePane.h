#pragma once

#include <QImage>
#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "quarn/base/McColor.h"
#include "quarn/view/Bounds.h"
#include "quarn/view/SceneCamera.h"
#include "quarn/view/Surface.h"
#include "quarn/view/export.h"

class HxUniformScalarField3;

namespace quarn::view {

class ColorTransfer;

/// Colours of the points of a surface: red, green and blue of each.
using PointColors = std::shared_ptr<const std::vector<std::uint8_t>>;

/// A surface as it is to be drawn.
struct SurfaceLook {
  SurfaceHandle surface;
  McColor color;
  PointColors pointColors;  ///< in place of the colour, unless null
  float opacity = 1;
};

/// A rectangle in the world with a picture on it.
struct PlaneLook {
  QImage picture;      ///< row 0 is at the origin; pixels with alpha 0 are not drawn
  Point3 origin;       ///< the outer corner of its first pixel
  Point3 right, down;  ///< from there to the other end of the first row, and to the last row
};

/// The 3D pane: surfaces, planes and volumes, drawn into memory. It keeps what was handed to the driver as long as it
/// is in use, so that showing a surface again costs nothing. For the user-interface thread.
class QUARN_VIEW_API ScenePane {
public:
  /// Throws McException when the machine has no OpenGL.
  ScenePane();
  ~ScenePane();
  ScenePane(const ScenePane&) = delete;
  ScenePane& operator=(const ScenePane&) = delete;

  /// What is not in the list is hidden, and forgotten once nobody else has it. The order does not matter.
  void setSurfaces(const std::vector<SurfaceLook>& looks);
  void setPlanes(const std::vector<PlaneLook>& planes);
  /// A volume through a colormap; null for none. The field must stay as it is until the next call.
  void setVolume(const HxUniformScalarField3* field, const ColorTransfer* colors);

  struct Picture {
    int width = 0;
    int height = 0;
    McColor background;
    Bounds bounds;  ///< of what the camera looks at
  };
  /// Throws McException when the driver cannot.
  QImage render(const SceneCamera& camera, const Picture& picture);

private:
  struct Scene;
  std::unique_ptr<Scene> scene_;
};

}  // namespace quarn::view
