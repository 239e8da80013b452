#pragma once

#include <memory>
#include <string>

#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeModel.h"
#include "tests/hxroi/RoisTest.h"
#include "tests/hxroi/internal/ModelWatch.h"
#include "tests/hxroi/internal/SignalLog.h"

/// The order of a set: names of top-level ROIs parted by blanks, masks of a group in brackets behind it.
inline std::string textOf(const HxRois& rois) {
  std::string text;
  for (const auto& roi : rois) {
    if (!text.empty()) text += ' ';
    text += roi->name();
    const auto* group = dynamic_cast<const hxroi::details::Group*>(roi.get());
    if (!group) continue;
    std::string members;
    for (const auto& mask : *group) members += (members.empty() ? "" : " ") + mask.name();
    text += "[" + members + "]";
  }
  return text;
}

/// The same of a tree.
inline std::string textOf(const QxRoiTreeModel& model, const QModelIndex& parent = {}) {
  std::string text;
  for (int row = 0; row < model.rowCount(parent); ++row) {
    const QModelIndex index = model.index(row, 0, parent);
    if (!text.empty()) text += ' ';
    text += model.data(index).toString().toStdString();
    if (model.isRoiGroup(index)) text += "[" + textOf(model, index) + "]";
  }
  return text;
}

/// A ROI set and its tree, which Qt's tester watches.
class TreeTest : public RoisTest {
protected:
  ~TreeTest() override {
    log.reset();
    watch.reset();
    model.reset();
  }

  /// Fills the set: "a b group[c d]".
  void fillSet() {
    addMask("a");
    addMask("b");
    rois->addRoi(makeGroup("group", {"c", "d"}));
  }

  void showSet(QxRoiTreeModel::RoiModule kind = QxRoiTreeModel::FULL_MODULE) {
    log.reset();
    watch.reset();
    model = std::make_unique<QxRoiTreeModel>(nullptr, kind);
    model->setupModelData(rois);
    watch = std::make_unique<ModelWatch>(model.get());
    log = std::make_unique<SignalLog>(*model);
  }

  void fillAndShow(QxRoiTreeModel::RoiModule kind = QxRoiTreeModel::FULL_MODULE) {
    fillSet();
    showSet(kind);
  }

  QModelIndex at(const char* name, int column = 0) const { return model->indexFromName(name).siblingAtColumn(column); }
  QxRoiTreeItem* item(const char* name) const { return model->treeItemFromName(name); }
  Group* group(const char* name) const { return rois->getGroup(name); }

  /// Tree and set agree, and are as given.
  void expectTree(const std::string& text) const {
    EXPECT_EQ(textOf(*model), text);
    EXPECT_EQ(textOf(*rois), text);
  }

  /// Fills the set up to its limit with empty masks "m0", "m1", ...
  void fillUp(std::size_t count = HxRois::kMaximumNumberOfMasks) {
    for (int i = 0; rois->getNumberOfMasks() < count; ++i) addMask("m" + std::to_string(i));
  }

  std::unique_ptr<QxRoiTreeModel> model;
  std::unique_ptr<ModelWatch> watch;
  std::unique_ptr<SignalLog> log;
};
