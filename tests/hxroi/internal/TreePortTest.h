#pragma once

#include <QWidget>
#include <memory>
#include <set>

#include "hxroi/HxPortRoiTreeView.h"
#include "hxroi/details/Group.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeModel.h"
#include "hxroi/internal/QxRoiTreeView.h"
#include "quarn/kernel/objects/HxObject.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "tests/hxroi/RoisTest.h"
#include "tests/hxroi/internal/ModelWatch.h"

/// An object with a tree port of any kind that notes what it is evaluated for.
class TreeOwner : public HxObject {
public:
  explicit TreeOwner(HxPortRoiTreeView::RoiModule module) : port(this, "roiVisibility", "Roi Visibility", module) {}

  void compute() override {
    ++evaluations;
    marks |= port.getNewFlags();
  }

  /// Marks of the evaluations since the last call.
  unsigned int newMarks() { return std::exchange(marks, 0); }
  int newEvaluations() { return std::exchange(evaluations, 0); }

  HxPortRoiTreeView port;
  int evaluations = 0;
  unsigned int marks = 0;
};

/// The set "rois" and an object "chooser" with a tree of it.
class TreePortTest : public RoisTest {
protected:
  using Module = HxPortRoiTreeView::RoiModule;

  explicit TreePortTest(Module module = HxPortRoiTreeView::SELECTOR_MODULE) : owner(new TreeOwner(module)) {
    HxObjectPool::instance().add(rois, "rois");
    HxObjectPool::instance().add(owner, "chooser");
    watch = std::make_unique<ModelWatch>(port().getModel());
  }
  ~TreePortTest() override {
    watch.reset();
    panel.reset();
    HxObjectPool::instance().clear();
    owner.reset();
  }

  HxPortRoiTreeView& port() { return owner->port; }
  QxRoiTreeModel& model() { return *port().getModel(); }
  QxRoiTreeView& view() { return *port().view(); }

  /// Forgets marks and evaluations so far.
  void settle() {
    port().untouch();
    owner->newMarks();
    owner->newEvaluations();
  }

  Group* addGroup(const std::string& name, std::initializer_list<std::string> members) {
    rois->addRoi(makeGroup(name, members));
    return rois->getGroup(name);
  }

  /// Names of what is checked, members behind their group.
  std::vector<std::string> checked() const {
    std::vector<std::string> names;
    const QxRoiTreeItem* root = owner->port.getModel()->getRoot();
    for (int i = 0; i < root->childCount(); ++i) {
      const QxRoiTreeItem& item = *root->child(i);
      if (item.isVisible(false)) names.push_back(item.getName().toStdString());
      for (int k = 0; k < item.childCount(); ++k)
        if (item.child(k)->isVisible(false)) names.push_back(item.child(k)->getName().toStdString());
    }
    return names;
  }

  std::string state() {
    QString text;
    port().getState(text);
    return text.toStdString();
  }

  /// Shows the port in a window of its own.
  void showWidget() {
    panel = std::make_unique<QWidget>();
    panel->resize(420, 300);
    port().createWidget(panel.get());
    port().frame()->resize(panel->size());
    panel->show();
  }

  QModelIndex index(const char* name, int column = 0) {
    const QModelIndex first = model().indexFromName(name);
    return first.siblingAtColumn(column);
  }

  void select(std::initializer_list<const char*> names) {
    view().selectionModel()->clearSelection();
    for (const char* name : names) {
      port().setRoiSelected(true, name);
      view().selectionModel()->setCurrentIndex(index(name), QItemSelectionModel::NoUpdate);
    }
  }

  static std::string evaluate(const QString& script) {
    HxInterpreter& interpreter = HxInterpreter::instance();
    if (const auto error = interpreter.evaluate(script)) return "error: " + error->message.toStdString();
    return interpreter.result().toStdString();
  }

  McHandle<TreeOwner> owner;
  std::unique_ptr<QWidget> panel;
  std::unique_ptr<ModelWatch> watch;  ///< of the model that the port makes
};
