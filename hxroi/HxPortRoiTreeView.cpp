#include "hxroi/HxPortRoiTreeView.h"

#include <string>

#include "hxroi/HxRois.h"
#include "hxroi/internal/QxModelRoisSynchronizer.h"
#include "hxroi/internal/QxPortRoiTreeViewNotifier.h"
#include "hxroi/internal/QxRoiTreeModel.h"
#include "hxroi/internal/QxRoiTreeView.h"
#include "hxroi/internal/QxRoiTreeViewActionSet.h"
#include "hxroi/internal/SetWatch.h"
#include "quarn/kernel/objects/HxEditor.h"

using hxroi::SetWatch;

namespace {

constexpr unsigned int kNameOrVisibility = 1024;
constexpr unsigned int kModel = 1536;

/// A view does not paint what is half done.
class UpdatesOff {
public:
  explicit UpdatesOff(QxRoiTreeView* view) : view_(view) {
    if (view_) view_->setUpdatesEnabled(false);
  }
  ~UpdatesOff() {
    if (!view_) return;
    view_->resizeColumnToContents(0);
    view_->setUpdatesEnabled(true);
  }
  UpdatesOff(const UpdatesOff&) = delete;
  UpdatesOff& operator=(const UpdatesOff&) = delete;

private:
  const QxGuardedPtr<QxRoiTreeView> view_;
};

}  // namespace

MC_ABSTRACT_CLASS_IMPL(HxPortRoiTreeView, HxPort)

HxPortRoiTreeView::HxPortRoiTreeView(HxEditor* owner, const QString& name, const QString& label, RoiModule module)
    : HxPort(owner, name, label) {
  commonInit(module);
}

HxPortRoiTreeView::HxPortRoiTreeView(HxObject* owner, const QString& name, const QString& label, RoiModule module)
    : HxPort(owner, name, label) {
  commonInit(module);
}

HxPortRoiTreeView::~HxPortRoiTreeView() {
  SetWatch::end(watch_);
  delete notifier_;
  delete synchronizer_;
  delete actionSet_;
  if (ownsModel_) delete model_;
}

HxPortRoiTreeView* HxPortRoiTreeView::createInstanceWithEditor(HxEditor* owner, const QString& name,
                                                               const QString& label) {
  return new HxPortRoiTreeView(owner, name, label, ROIS_MODULE);
}

HxPortRoiTreeView* HxPortRoiTreeView::createInstanceWithObject(HxObject* owner, const QString& name,
                                                               const QString& label) {
  return new HxPortRoiTreeView(owner, name, label, ROIS_MODULE);
}

void HxPortRoiTreeView::commonInit(RoiModule module) {
  roiModule_ = module;
  notifier_ = new QxPortRoiTreeViewNotifier(this);
  switch (module) {
    case ROIS_MODULE:
      model_ = new QxRoiTreeModel(nullptr, QxRoiTreeModel::ROIS_MODULE);
      break;
    case SELECTOR_MODULE:
      model_ = new QxRoiTreeModel(nullptr, QxRoiTreeModel::SELECTOR_MODULE);
      break;
    default:
      model_ = new QxRoiTreeModel(nullptr, QxRoiTreeModel::FULL_MODULE);
  }
  ownsModel_ = true;
  synchronizer_ = new QxModelRoisSynchronizer;
  synchronizer_->setModel(model_);
}

// --- The set ------------------------------------------------------------------------------------------------------

void HxPortRoiTreeView::setHxRois(HxRois* rois) {
  watch(rois);
  updateModel();
}

void HxPortRoiTreeView::watch(HxRois* rois) {
  if (rois == rois_) return;
  SetWatch::end(watch_);
  watch_ = nullptr;
  rois_ = rois;
  if (!rois) return;
  watch_ = new SetWatch(*rois, [this] {
    watch_ = nullptr;
    rois_ = nullptr;
  });
}

void HxPortRoiTreeView::updateHxRois() {
  // The synchronizer holds the set, which would be the death of one that nobody holds yet.
  if (rois_ && rois_->refCount() == 0) return updateModel();
  const UpdatesOff off(view_);
  synchronizer_->synchronizeData();
  const McDArray<std::string> inserted = synchronizer_->insertedNames;
  for (const std::string& name : inserted) setRoiVisible(false, QString::fromLatin1(name.c_str()));
}

QxRoiTreeModel* HxPortRoiTreeView::getModel() const {
  return model_;
}

void HxPortRoiTreeView::setModel(QxRoiTreeModel* model) {
  if (model == model_) return;
  if (ownsModel_) delete model_;
  model_ = model;
  ownsModel_ = false;
  synchronizer_->setModel(model_);
  updateModel();
  touch(kModel);
}

void HxPortRoiTreeView::updateModel() {
  if (model_) model_->setupModelData(rois_);
  if (view_) showModel();
}

// --- Visible ROIs -------------------------------------------------------------------------------------------------

void HxPortRoiTreeView::setRoiVisible(bool visible, const QString& nameOrId) {
  if (model_) model_->setRoiVisible(visible, nameOrId);
  touch(kNameOrVisibility);
  repaint();
}

bool HxPortRoiTreeView::isRoiVisible(const QString& nameOrId) const {
  return model_ && model_->isRoiVisible(nameOrId, true);
}

void HxPortRoiTreeView::setAllRoisVisible(bool visible) {
  if (model_) model_->setAllRoisVisible(visible);
  touch(kNameOrVisibility);
  repaint();
}
