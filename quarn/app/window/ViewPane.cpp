#include "quarn/app/window/ViewPane.h"

#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <utility>

#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxProgress.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/view/HxSceneView.h"
#include "quarn/view/SceneCamera.h"
#include "quarn/view/SceneLayout.h"
#include "quarn/view/Snapshot.h"

namespace quarn::app {
namespace {

constexpr int A_WHILE = 50;  // milliseconds until it is asked again whether other work has ended
constexpr int SPACE = 3;     // after the axes of the slices
constexpr double DEGREES_OF_PIXEL = 0.5;
constexpr double ZOOM_OF_STEP = 1.15;
constexpr int EIGHTHS_OF_STEP = 120;  // of a degree, that a wheel turns from one notch to the next

bool isOtherWorkUnderWay() {
  const auto* progress = dynamic_cast<const HxProgress*>(HxApplication::progress());
  return progress && progress->isRunning();
}

}  // namespace

ViewPane::ViewPane(QWidget* parent) : QWidget(parent) {
  setObjectName(QStringLiteral("view"));
  setMinimumSize(64, 64);
  wish_.setSingleShot(true);
  connect(&wish_, &QTimer::timeout, this, &ViewPane::draw);
  HxObjectPool::instance().addListener(this);
}

ViewPane::~ViewPane() = default;

QSize ViewPane::sizeHint() const {
  return {640, 430};
}

void ViewPane::setView(HxSceneView* view) {
  if (view == view_) return;
  view_ = view;
  picture_ = {};
  failure_.clear();
  isTurning_ = false;
  refresh();
}

void ViewPane::objectAdded(HxObject*) {
  refresh();
}

void ViewPane::objectAboutToBeRemoved(HxObject* object) {
  if (object == view_) setView(nullptr);
  refresh();
}

void ViewPane::objectEvaluated(HxObject*) {
  refresh();
}

void ViewPane::refresh() {
  if (!wish_.isActive()) wish_.start(0);
}

/// Painting may run events, and with them this function.
void ViewPane::draw() {
  if (!view_ || !isVisible()) return update();
  if (isDrawing_ || isOtherWorkUnderWay()) return wish_.start(A_WHILE);
  const double scale = devicePixelRatioF() * (isTurning_ ? 0.5 : 1);
  const auto pixels = [scale](int length) {
    return std::clamp(static_cast<int>(std::lround(length * scale)), 1, quarn::view::LARGEST_PICTURE);
  };
  isDrawing_ = true;
  const McHandle<HxSceneView> drawn(view_);
  QImage picture;
  QString failure;
  try {
    picture = view_->paint(pixels(width()), pixels(height()));
  } catch (const std::exception& error) {
    failure = QString::fromUtf8(error.what());
  }
  isDrawing_ = false;
  if (view_ != drawn.get()) return;
  picture_ = picture;
  failure_ = failure;
  update();
}

// --- Events -------------------------------------------------------------------------------------------------------

void ViewPane::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  if (!picture_.isNull()) {
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(rect(), picture_);
    return;
  }
  painter.fillRect(rect(), palette().dark());
  painter.setPen(palette().color(QPalette::BrightText));
  painter.drawText(rect().adjusted(8, 8, -8, -8), Qt::AlignCenter | Qt::TextWordWrap, failure_);
}

void ViewPane::resizeEvent(QResizeEvent*) {
  refresh();
}

void ViewPane::showEvent(QShowEvent*) {
  refresh();
}

int ViewPane::axisAt(const QPoint& place) const {
  if (!view_) return -1;
  for (const quarn::view::PlacedPane& pane : quarn::view::placePanes(view_->layout(), width(), height()))
    if (pane.place.contains(place)) return static_cast<int>(pane.pane);
  return -1;
}

void ViewPane::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || axisAt(event->position().toPoint()) != SPACE) return;
  isTurning_ = true;
  turnedAt_ = event->position().toPoint();
}

/// What is seen follows the hand: the camera goes the other way.
void ViewPane::mouseMoveEvent(QMouseEvent* event) {
  if (!isTurning_ || !view_) return;
  const QPoint way = event->position().toPoint() - std::exchange(turnedAt_, event->position().toPoint());
  view_->camera().azimuth(-way.x() * DEGREES_OF_PIXEL);
  view_->camera().elevation(way.y() * DEGREES_OF_PIXEL);
  refresh();
}

void ViewPane::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !std::exchange(isTurning_, false)) return;
  refresh();
}

void ViewPane::wheelEvent(QWheelEvent* event) {
  wheelRest_ += event->angleDelta().y();
  const int steps = std::exchange(wheelRest_, wheelRest_ % EIGHTHS_OF_STEP) / EIGHTHS_OF_STEP;
  const int axis = axisAt(event->position().toPoint());
  if (!view_ || axis < 0 || steps == 0) return;
  if (axis == SPACE) {
    view_->camera().zoomBy(std::pow(ZOOM_OF_STEP, steps));
  } else {
    stepSlice(axis, steps);
  }
  refresh();
}

/// The first and the last slice are the end.
void ViewPane::stepSlice(int axis, int steps) {
  for (const int step = steps > 0 ? 1 : -1; steps != 0; steps -= step) {
    try {
      view_->setSlice(axis, view_->slice(axis) + step);
    } catch (const std::exception&) {
      return;
    }
  }
}

}  // namespace quarn::app
