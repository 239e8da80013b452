#pragma once

#include <QImage>
#include <QString>
#include <QStringList>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "quarn/base/McColor.h"
#include "quarn/kernel/objects/HxObject.h"
#include "quarn/kernel/objects/HxObjectPoolListener.h"
#include "quarn/kernel/ports/HxPortObjects.h"
#include "quarn/view/export.h"

class HxColormap;
namespace quarn::view {
class SceneCamera;
class SurfaceCache;
enum class VolumeMode;
}  // namespace quarn::view

/// A view of images and masks: a pane that looks into space, and three with slices. It shows uniform scalar fields and
/// whatever offers HxISetOfVolumeMask, and draws pictures without a window. Objects that leave the pool leave the view.
///
/// Each picture shows the objects as they are at that moment; surfaces of masks that did not change are kept. For the
/// user-interface thread. Failures are McException.
class QUARN_VIEW_API HxSceneView : public HxObject, private HxObjectPoolListener {
public:
  MC_CLASS_DECL(HxSceneView)

  HxSceneView();

  /// Whether show() would take the object.
  static bool canShow(HxObject* object);
  /// Shows an object of the pool. Harmless when it is shown already. For an object whose masks another one can offer,
  /// that one is shown; it is made and put into the pool when there is none.
  void show(HxObject* object);
  /// Harmless when it is not shown.
  void hide(HxObject* object);
  bool isShown(const HxObject* object) const;
  /// In the order in which they came.
  QStringList shownNames() const;

  /// How an image looks; without a colormap grey, without a range the values that most voxels lie between.
  void setColormap(HxObject* image, HxColormap* colormap, std::optional<std::pair<double, double>> range);
  /// How the space pane shows an image; empty for: as a cloud, but as slices where there are masks, too.
  void setVolumeMode(HxObject* image, std::optional<quarn::view::VolumeMode> mode);

  quarn::view::SceneCamera& camera();
  /// The next picture is centred anew on all that is shown. So it is after show() and hide().
  void fitCamera();

  /// The slice across a lattice axis (0, 1, 2) of the object that was shown first; at first the middle one.
  void setSlice(int axis, int index);
  int slice(int axis) const;

  /// One of quarn::view::layoutNames().
  void setLayout(const QString& layout);
  QString layout() const;
  void setBackground(const McColor& color);
  McColor background() const;
  /// Letters for the sides of a patient, lines for the other slices.
  void setMarks(bool shown);
  bool hasMarks() const;

  /// Draws a picture of this size (see requirePictureSize()).
  QImage paint(int width, int height);
  /// Draws it into a PNG file; see writeSnapshot().
  void snapshot(const QString& file, int width, int height);

  const quarn::view::SurfaceCache& surfaces() const;

  int parse(Tcl_Interp* interp, int argc, char** argv) override;

protected:
  ~HxSceneView() override;

private:
  struct State;

  void objectAboutToBeRemoved(HxObject* object) override;

  std::vector<HxPortObjects::Entry> shownEntries() const;
  void showAs(HxObject* object, const QString& settings);
  QString stateText() const;
  bool setStateText(const QString& text);

  std::unique_ptr<State> state_;
  HxPortObjects picture_;  ///< what networks keep
};
