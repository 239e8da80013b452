#pragma once

#include <QString>
#include <QStringList>
#include <array>

#include "quarn/view/LatticeMap.h"
#include "quarn/view/export.h"

namespace quarn::view {

/// From where the scene is looked at. The camera looks at the middle of what is shown, from as far as is needed to see
/// all of it. World axes: x to the left of a patient, y to the back, z up.
class QUARN_VIEW_API SceneCamera {
public:
  /// From the front.
  SceneCamera() = default;

  static QStringList viewNames();
  /// One of viewNames(); false for other words. The zoom stays.
  bool look(const QString& name);

  /// Moves the camera around what is shown, in degrees: to its right, and up.
  void azimuth(double degrees);
  void elevation(double degrees);
  /// Factors above 1 bring it nearer; the zoom is kept in [0.01, 100].
  void zoomBy(double factor);

  /// Seven numbers: the direction towards the camera, the direction that is up, the zoom.
  QString state() const;
  /// False, and nothing is changed, for what is no state.
  bool setState(const QStringList& numbers);

  const Point3& direction() const { return direction_; }
  const Point3& up() const { return up_; }
  double zoom() const { return zoom_; }

private:
  Point3 direction_{0, -1, 0};
  Point3 up_{0, 0, 1};
  double zoom_ = 1;
};

}  // namespace quarn::view
