#include <QDialogButtonBox>
#include <QPushButton>
#include <set>
#include <utility>

#include "hxroi/HxRois.h"
#include "hxroi/details/Roi.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeModel.h"
#include "hxroi/internal/QxRoiTreeViewActionSet.h"
#include "hxroi/internal/SeveralParameters.h"
#include "hxroi/internal/commandFailures.h"
#include "hxroi/internal/holdSet.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/kernel/widgets/QxParamDialog.h"

using hxroi::details::Roi;

namespace {

constexpr unsigned int kProperty = 64;

std::set<HxRois*> setsOf(const std::vector<McHandle<Roi>>& rois) {
  std::set<HxRois*> sets;
  for (const auto& roi : rois) sets.insert(roi->owners().begin(), roi->owners().end());
  return sets;
}

}  // namespace

// --- The dialog ---------------------------------------------------------------------------------------------------

void QxRoiTreeViewActionSet::makeParamDialog() {
  auto* dialog = new QxParamDialog(HxApplication::mainWidget());
  dialog->setWindowTitle(tr("ROI Parameters"));
  dialog->enableApply(true);
  connect(dialog, &QxParamDialog::dataChanged, this, &QxRoiTreeViewActionSet::parametersChanged);
  connect(dialog->buttonBox()->button(QDialogButtonBox::Ok), &QPushButton::clicked, this,
          &QxRoiTreeViewActionSet::parametersChanged);
  // Later, since those who hear of the button still ask for the bundle.
  connect(dialog, &QDialog::finished, this, &QxRoiTreeViewActionSet::forgetParameters, Qt::QueuedConnection);
  paramDialog_ = dialog;
}

void QxRoiTreeViewActionSet::deleteParamDialog() {
  delete paramDialog_;
}

QxParamDialog* QxRoiTreeViewActionSet::paramDialog() const {
  return paramDialog_;
}

void QxRoiTreeViewActionSet::editSelectedRoiParameters() {
  if (!model() || !paramDialog_) return;
  // What the dialog shows now lives until it shows something else.
  const std::vector<RoiHandle> formerRois = std::exchange(edited_, selectedRois());
  HxParamBundle* bundle = bundleFromSelection();
  paramDialog_->setBundle(bundle);
  shown_ = bundle == copy_.get() ? std::move(copy_) : nullptr;
  paramDialog_->show();
}

/// A closed dialog keeps no ROI alive.
void QxRoiTreeViewActionSet::forgetParameters() {
  if (!paramDialog_ || paramDialog_->isVisible()) return;
  paramDialog_->setBundle(nullptr);
  shown_.reset();
  edited_.clear();
}

// --- Between dialog and ROIs --------------------------------------------------------------------------------------

std::vector<QxRoiTreeViewActionSet::RoiHandle> QxRoiTreeViewActionSet::selectedRois() const {
  std::vector<RoiHandle> rois;
  const QxRoiTreeModel* tree = model();
  if (!tree) return rois;
  const QModelIndexList rows = selectedRows();
  for (const QModelIndex& row : rows) {
    if (Roi* roi = tree->getItem(row)->getRoi()) rois.emplace_back(roi);
  }
  return rois;
}

HxParamBundle* QxRoiTreeViewActionSet::bundleFromSelection() {
  const std::vector<RoiHandle> rois = selectedRois();
  if (selectedRows().size() == 1) return rois.empty() ? nullptr : &rois.front()->parameters();
  copy_ = std::make_unique<HxParamBundle>("copy");
  for (const RoiHandle& roi : rois) insertParamIntoCopy(*copy_, roi->parameters());
  return copy_.get();
}

void QxRoiTreeViewActionSet::bundleToSelection(const HxParamBundle* bundle) {
  writeParameters(selectedRois(), bundle);
}

/// To the ROIs that the dialog was opened for, whatever is selected by now. The dialog may outlive the view and be used
/// while a command is at work: what the user has typed is written all the same.
void QxRoiTreeViewActionSet::parametersChanged() {
  if (!paramDialog_) return;
  const bool showsThem = paramDialog_->bundle() && !edited_.empty();
  hxroi::showFailures([&] { writeParameters(showsThem ? edited_ : selectedRois(), paramDialog_->bundle()); });
}

void QxRoiTreeViewActionSet::writeParameters(const std::vector<RoiHandle>& rois, const HxParamBundle* bundle) {
  if (bundle && rois.size() > 1) {
    for (const RoiHandle& roi : rois) hxroi::writeSeveral(roi->parameters(), *bundle);
  }
  const QxRoiTreeModel* tree = model();
  evaluate(setsOf(rois), tree ? tree->getRoot()->getRois() : nullptr);
}

void QxRoiTreeViewActionSet::evaluate(std::set<HxRois*> sets, HxRois* shown) {
  if (sets.empty() && shown) sets.insert(shown);
  std::vector<McHandle<HxRois>> held;
  for (HxRois* set : sets) {
    held.push_back(hxroi::holdSet(set));
    set->touch(kProperty);
  }
  // The command that is at work has its own set evaluated at its end.
  if (isAtWork_) sets.erase(shown);
  for (HxRois* set : sets) set->fire(1);
}

void QxRoiTreeViewActionSet::insertParamIntoCopy(HxParamBundle& copy, const HxParamBase& parameter) {
  hxroi::addToCopy(copy, parameter);
}

void QxRoiTreeViewActionSet::setParamBundleMultiValues(HxParamBase& parameter, bool on) {
  hxroi::markSeveral(parameter, on);
}
