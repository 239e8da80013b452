#pragma once

#include <QImage>
#include <QString>
#include <QTimer>
#include <QWidget>

#include "quarn/kernel/objects/HxObjectPoolListener.h"

class HxSceneView;

namespace quarn::app {

/// Shows the picture of a view. In space the left button turns the camera and the wheel zooms; over a slice the wheel
/// goes from slice to slice. The picture is drawn anew when an object has been evaluated, has come or gone, at half its
/// resolution while the camera turns; never in the middle of other work. For the user-interface thread.
class ViewPane : public QWidget, private HxObjectPoolListener {
  Q_OBJECT

public:
  explicit ViewPane(QWidget* parent = nullptr);
  ~ViewPane() override;

  /// Shows another view; null for none. It is not held: a view that leaves the pool is let go of.
  void setView(HxSceneView* view);
  HxSceneView* view() const { return view_; }
  /// Draws the picture anew as soon as nothing else is under way; several wishes are one.
  void refresh();
  /// What was drawn last; null before and after a failure.
  const QImage& picture() const { return picture_; }
  /// Why nothing could be drawn; empty when it could.
  const QString& failure() const { return failure_; }

  QSize sizeHint() const override;

protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;

private:
  void objectAdded(HxObject* object) override;
  void objectAboutToBeRemoved(HxObject* object) override;
  void objectEvaluated(HxObject* object) override;

  void draw();
  /// The slice axis of the pane at a place of the widget; 3 in space, -1 between the panes.
  int axisAt(const QPoint& place) const;
  void stepSlice(int axis, int steps);

  HxSceneView* view_ = nullptr;
  QImage picture_;
  QString failure_;
  QTimer wish_;
  QPoint turnedAt_;
  bool isTurning_ = false;
  bool isDrawing_ = false;
  int wheelRest_ = 0;  ///< of a wheel's turn that is no whole step, in eighths of a degree
};

}  // namespace quarn::app
