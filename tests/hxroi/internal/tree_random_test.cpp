#include <QItemSelectionModel>
#include <QMimeData>
#include <QPersistentModelIndex>
#include <cstdlib>
#include <gmock/gmock.h>
#include <map>
#include <random>
#include <set>

#include "hxroi/internal/QxModelRoisSynchronizer.h"
#include "hxroi/internal/RoiDrop.h"
#include "tests/hxroi/internal/TreeTest.h"

/// Random edits of a set and of its tree. After each one both agree, and rows that it did not concern keep selection
/// and indexes.
class TreeWalk : public TreeTest {
protected:
  TreeWalk() {
    const char* given = std::getenv("QUARN_TEST_SEED");
    const auto seed = given ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10)) : std::random_device()();
    RecordProperty("seed", std::to_string(seed));
    std::printf("QUARN_TEST_SEED=%u\n", seed);
    random.seed(seed);
  }
  ~TreeWalk() override { synchronizer.setModel(nullptr); }

  int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); }
  std::string freshName() { return "r" + std::to_string(++names); }

  std::vector<Roi*> all() const {
    std::vector<Roi*> found;
    for (const auto& roi : *rois) {
      found.push_back(roi);
      if (auto* const parent = dynamic_cast<Group*>(roi.get())) {
        for (Mask& mask : *parent) found.push_back(&mask);
      }
    }
    return found;
  }

  Roi* any() {
    const std::vector<Roi*> found = all();
    return found.empty() ? nullptr : found[static_cast<std::size_t>(below(static_cast<int>(found.size())))];
  }

  Group* anyGroup() {
    std::vector<Group*> found;
    for (const auto& roi : *rois) {
      if (auto* const one = dynamic_cast<Group*>(roi.get())) found.push_back(one);
    }
    return found.empty() ? nullptr : found[static_cast<std::size_t>(below(static_cast<int>(found.size())))];
  }

  McHandle<Roi> fresh() {
    if (below(4) == 0) return makeGroup(freshName(), {freshName(), freshName()});
    return makeMask(freshName());
  }

  /// Takes a ROI out of the set, or a mask out of its group.
  McHandle<Roi> takeOut(Roi* roi) {
    if (Group* const parent = roi->parent()) return parent->removeMask(roi->name());
    return rois->removeRoi(roi->name());
  }

  void putIn(Roi* roi) {
    Group* const parent = anyGroup();
    auto* const mask = dynamic_cast<Mask*>(roi);
    if (mask && parent && below(2)) {
      parent->insertMask(mask, static_cast<unsigned long>(below(static_cast<int>(parent->size()) + 1)));
    } else {
      rois->insertRoi(roi, static_cast<unsigned long>(below(static_cast<int>(rois->getNumberOfRois()) + 1)));
    }
  }

  /// One change of the set; what it concerns is not expected to keep its row.
  void changeSet() {
    Roi* const roi = any();
    const int kind = below(8);
    if (!roi || kind < 2) {
      if (rois->getNumberOfMasks() < 40) putIn(fresh());
    } else if (kind == 2) {
      takeOut(roi);
    } else if (kind == 3) {
      roi->setName(freshName());
    } else if (kind < 6) {
      const McHandle<Roi> moved = takeOut(roi);
      putIn(moved);
    } else if (auto* const gone = dynamic_cast<Group*>(roi)) {
      dissolve(*gone);
    } else if (!roi->parent()) {
      rois->replaceRoi(roi->name(), fresh());
    }
  }

  /// The group goes, its masks stay.
  void dissolve(Group& gone) {
    std::vector<McHandle<Mask>> masks;
    for (Mask& mask : gone) masks.emplace_back(&mask);
    for (const auto& mask : masks) gone.removeMask(mask->name());
    rois->removeRoi(gone.name());
    for (const auto& mask : masks) putIn(mask);
  }

  /// One edit in the tree.
  void editTree() {
    Roi* const roi = any();
    const QModelIndex index = roi ? model->indexFromTreeItem(model->treeItemFromRoi(roi)) : QModelIndex();
    const int kind = below(6);
    if (!roi || kind == 0) {
      Group* const parent = anyGroup();
      const QModelIndex place =
          parent && below(2) ? model->indexFromTreeItem(model->treeItemFromRoi(parent)) : QModelIndex();
      if (rois->getNumberOfMasks() < 40) {
        model->insertRoi(below(model->rowCount(place) + 1), makeMask(freshName()), place, true);
      }
    } else if (kind == 1) {
      delete model->removeRoi(index.row(), index.parent(), true);
    } else if (kind == 2) {
      model->setData(index, QString::fromStdString(freshName()));
    } else {
      dropSome();
    }
  }

  void dropSome() {
    QStringList dragged;
    for (int i = below(3); i >= 0; --i) dragged.append(QString::fromStdString(any()->name()));
    Group* const parent = below(2) ? anyGroup() : nullptr;
    const QModelIndex place = parent ? model->indexFromTreeItem(model->treeItemFromRoi(parent)) : QModelIndex();
    const std::unique_ptr<QMimeData> data(hxroi::draggedNames(dragged));
    for (const QString& name : dragged) concerned.insert(rois->getRoi(name.toStdString()));
    model->dropMimeData(data.get(), Qt::MoveAction, below(model->rowCount(place) + 2) - 1, 0, place);
  }

  // --- What is kept

  void remember() {
    rows.clear();
    selected.clear();
    concerned.clear();
    selection->clear();
    for (Roi* roi : all()) {
      const QModelIndex index = model->indexFromTreeItem(model->treeItemFromRoi(roi));
      rows[roi] = index;
      if (below(3)) continue;
      selection->select(index, QItemSelectionModel::Select | QItemSelectionModel::Rows);
      selected.insert(roi);
    }
  }

  bool isConcerned(const Roi* roi) const {
    return concerned.contains(roi) || (roi->parent() && concerned.contains(roi->parent()));
  }

  void expectKept() {
    for (const Roi* roi : all()) {
      if (!rows.contains(roi) || isConcerned(roi)) continue;
      const QModelIndex now = model->indexFromTreeItem(model->treeItemFromRoi(roi));
      EXPECT_EQ(rows[roi], now) << roi->name();
      EXPECT_EQ(selection->isRowSelected(now.row(), now.parent()), selected.contains(roi)) << roi->name();
    }
  }

  std::mt19937 random;
  int names = 0;
  QxModelRoisSynchronizer synchronizer;
  std::unique_ptr<QItemSelectionModel> selection;
  std::map<const Roi*, QPersistentModelIndex> rows;
  std::set<const Roi*> selected;
  std::set<const Roi*> concerned;
};

TEST_F(TreeWalk, AgreesWithTheSet) {
  showSet();
  synchronizer.setModel(model.get());
  selection = std::make_unique<QItemSelectionModel>(model.get());
  for (int step = 0; step < 600; ++step) {
    remember();
    if (below(2)) {
      changeSet();
      synchronizer.synchronizeData();
      for (const std::string& name : synchronizer.movedNames) concerned.insert(rois->getRoi(name));
      for (const std::string& name : synchronizer.insertedNames) concerned.insert(rois->getRoi(name));
    } else {
      editTree();
    }
    ASSERT_EQ(textOf(*model), textOf(*rois)) << "step " << step;
    expectKept();
    if (HasFailure()) FAIL() << "step " << step;
  }
  selection.reset();
  EXPECT_TRUE(console.errors.empty());
}

TEST_F(TreeWalk, CatchesUpWithManyChanges) {
  showSet();
  synchronizer.setModel(model.get());
  selection = std::make_unique<QItemSelectionModel>(model.get());
  for (int step = 0; step < 100; ++step) {
    for (int i = below(20); i >= 0; --i) changeSet();
    synchronizer.synchronizeData();
    ASSERT_EQ(textOf(*model), textOf(*rois)) << "step " << step;
  }
  selection.reset();
}
