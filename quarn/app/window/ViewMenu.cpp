#include "quarn/app/window/ViewMenu.h"

#include <QActionGroup>
#include <QFileDialog>
#include <utility>

#include "quarn/app/window/ViewPane.h"
#include "quarn/app/window/attempt.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/view/HxSceneView.h"
#include "quarn/view/SceneCamera.h"
#include "quarn/view/SceneLayout.h"

namespace quarn::app {
namespace {

constexpr QSize SAVED_SIZE(1600, 1080);

QString capitalized(const QString& word) {
  return word.left(1).toUpper() + word.mid(1);
}

/// The view of the pane; a new one of the pool when it has none.
HxSceneView& provideView(ViewPane& pane) {
  if (!pane.view()) {
    const McHandle<HxSceneView> view(new HxSceneView);
    HxObjectPool::instance().add(view.get(), QStringLiteral("view"));
    pane.setView(view.get());
  }
  return *pane.view();
}

}  // namespace

ViewMenu::ViewMenu(ViewPane* pane, std::function<HxObject*()> chosen, QWidget* parent)
    : QMenu(tr("&View"), parent), pane_(pane), chosen_(std::move(chosen)) {
  toggle_ = addAction(tr("&Show Object"), QKeySequence(Qt::CTRL | Qt::Key_D), this, &ViewMenu::toggleChosen);
  addSeparator();
  addCameras();
  addLayouts();
  addSeparator();
  addAction(tr("Save &Picture As ..."), this, &ViewMenu::savePicture);
  connect(this, &QMenu::aboutToShow, this, &ViewMenu::toggleAction);
}

QAction* ViewMenu::toggleAction() {
  const HxObject* object = chosen_();
  toggle_->setText(object && pane_->view() && pane_->view()->isShown(object) ? tr("&Hide Object") : tr("&Show Object"));
  return toggle_;
}

void ViewMenu::withView(const std::function<void(HxSceneView&)>& work) {
  attempt([&] { work(provideView(*pane_)); });
  pane_->refresh();
}

void ViewMenu::showFirst(const QStringList& names) {
  if (pane_->view()) return;
  for (const QString& name : names) {
    const McHandle<HxObject> object(HxObjectPool::instance().find(name));
    if (!object || !HxSceneView::canShow(object.get())) continue;
    return withView([&](HxSceneView& view) { view.show(object.get()); });
  }
}

void ViewMenu::toggleChosen() {
  const McHandle<HxObject> object(chosen_());
  if (!object) return;
  withView([&](HxSceneView& view) {
    if (view.isShown(object.get())) {
      view.hide(object.get());
    } else {
      view.show(object.get());
    }
  });
}

void ViewMenu::addCameras() {
  QMenu* cameras = addMenu(tr("&Look From"));
  for (const QString& name : quarn::view::SceneCamera::viewNames())
    cameras->addAction(capitalized(name), this,
                       [this, name] { withView([&](HxSceneView& view) { view.camera().look(name); }); });
}

void ViewMenu::addLayouts() {
  QMenu* layouts = addMenu(tr("Pa&nes"));
  auto* group = new QActionGroup(layouts);
  for (const QString& name : quarn::view::layoutNames()) {
    QAction* action = layouts->addAction(capitalized(name), this,
                                         [this, name] { withView([&](HxSceneView& view) { view.setLayout(name); }); });
    action->setCheckable(true);
    action->setData(name);
    group->addAction(action);
  }
  connect(layouts, &QMenu::aboutToShow, group, [this, group] {
    const QString current = pane_->view() ? pane_->view()->layout() : QString();
    for (QAction* action : group->actions()) action->setChecked(action->data().toString() == current);
  });
}

void ViewMenu::savePicture() {
  const QString file =
      QFileDialog::getSaveFileName(this, tr("Save Picture"), QStringLiteral("picture.png"), tr("Pictures (*.png)"));
  if (!file.isEmpty())
    withView([&](HxSceneView& view) { view.snapshot(file, SAVED_SIZE.width(), SAVED_SIZE.height()); });
}

}  // namespace quarn::app
