#include "hxroi/internal/QxModelRoisSynchronizer.h"

#include "hxroi/HxRois.h"
#include "hxroi/details/Roi.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/SynchronizerRun.h"
#include "hxroi/internal/holdSet.h"

using hxroi::details::Roi;

namespace {

class BusyMark {
public:
  explicit BusyMark(bool& busy) : busy_(busy) { busy_ = true; }
  ~BusyMark() { busy_ = false; }
  BusyMark(const BusyMark&) = delete;
  BusyMark& operator=(const BusyMark&) = delete;

private:
  bool& busy_;
};

}  // namespace

QxModelRoisSynchronizer::QxModelRoisSynchronizer(HxRois* rois) {
  auto* model = new QxRoiTreeModel(nullptr, QxRoiTreeModel::FULL_MODULE);
  model->setupModelData(rois);
  setModel(model);
  ownsModel_ = true;
}

QxModelRoisSynchronizer::~QxModelRoisSynchronizer() {
  if (ownsModel_) delete model_;
}

/// One that it owns already stays its own.
void QxModelRoisSynchronizer::setModel(QxRoiTreeModel* model) {
  if (model_ != model) {
    if (ownsModel_ && busy_) {
      model_->deleteLater();  // the run is at work on it
    } else if (ownsModel_) {
      delete model_;
    }
    ownsModel_ = false;
  }
  model_ = model;
  synchronizeData();
}

QxRoiTreeItem* QxModelRoisSynchronizer::searchRoiInList(const Roi* roi, QList<QxRoiTreeItem*> items) const {
  for (QxRoiTreeItem* item : std::as_const(items)) {
    if (item->getRoi() == roi) return item;
  }
  return nullptr;
}

void QxModelRoisSynchronizer::clearResults() {
  removedNames.clear();
  insertedNames.clear();
  movedNames.clear();
  nameChanges.clear();
  modifiedNames.clear();
}

void QxModelRoisSynchronizer::synchronizeData() {
  if (!model_ || !model_->getRoot() || busy_) return;
  clearResults();
  HxRois* rois = model_->getRoot()->getRois();
  if (!rois || model_->putsOffSynchronization()) return;
  const BusyMark mark(busy_);
  const McHandle<HxRois> held = hxroi::holdSet(rois);
  hxroi::SynchronizerRun run(*this, *model_, *rois, std::exchange(knownNames_, {}));
  run.removeDeparted();
  knownNames_ = run.placeAll();
  updateStamps(*rois);
}

void QxModelRoisSynchronizer::updateStamps(const HxRois& rois) {
  for (const std::string& name : removedNames) knownStamps_.erase(name);
  moveStamps();
  for (auto stamp = knownStamps_.begin(); stamp != knownStamps_.end();) {
    const Roi* roi = rois.getRoi(stamp->first);
    if (!roi) {
      stamp = knownStamps_.erase(stamp);
      continue;
    }
    if (roi->timeStamp() != stamp->second) modifiedNames.append(stamp->first);
    stamp->second = roi->timeStamp();
    ++stamp;
  }
  for (const std::string& name : insertedNames) {
    if (const Roi* roi = rois.getRoi(name)) knownStamps_[name] = roi->timeStamp();
  }
}

/// All at once, since ROIs may have swapped their names.
void QxModelRoisSynchronizer::moveStamps() {
  std::map<std::string, std::uint64_t> moved;
  for (const auto& [oldName, newName] : nameChanges) {
    if (const auto stamp = knownStamps_.extract(oldName)) moved[newName] = stamp.mapped();
  }
  for (const auto& [name, stamp] : moved) knownStamps_[name] = stamp;
}
