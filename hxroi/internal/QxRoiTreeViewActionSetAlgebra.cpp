#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/details/Mask.h"
#include "hxroi/internal/ItemPlace.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeModel.h"
#include "hxroi/internal/QxRoiTreeViewActionSet.h"
#include "hxroi/internal/RowReplacement.h"
#include "hxroi/internal/holdSet.h"

using hxroi::details::Mask;

namespace {

QxRoiTreeModel* modelOf(const QModelIndex& index) {
  auto* model = qobject_cast<QxRoiTreeModel*>(const_cast<QAbstractItemModel*>(index.model()));
  return model && model->getRoot() && model->getRoot()->getRois() ? model : nullptr;
}

/// McException when the set has given the name to another ROI, or this one another place.
std::string nameAt(const QxRoiTreeModel& model, const QModelIndex& index) {
  const QxRoiTreeItem& item = *model.getItem(index);
  if (item.parent()) hxroi::checkPlace(*item.parent(), item);
  return item.getName().toLatin1().toStdString();
}

/// The sources from the largest row number on; of those with one row number the last one.
std::vector<QModelIndex> fromLowestRow(const QList<QModelIndex>& sources) {
  std::map<int, QModelIndex, std::greater<>> byRow;
  for (const QModelIndex& source : sources) byRow[source.row()] = source;
  std::vector<QModelIndex> ordered;
  for (const auto& [row, source] : byRow) ordered.push_back(source);
  return ordered;
}

}  // namespace

// --- Merge --------------------------------------------------------------------------------------------------------

void QxRoiTreeViewActionSet::mergeSelectedRois() {
  run([this](QxRoiTreeModel& /*tree*/) { mergeRois(currentIndex(), selectedRows()); });
}

void QxRoiTreeViewActionSet::mergeRois(const QString& target, const QStringList& sources) {
  const QxRoiTreeModel* tree = model();
  if (!tree) return;
  QList<QModelIndex> indexes;
  for (const QString& source : sources) indexes.append(tree->indexFromName(source));
  mergeRois(tree->indexFromName(target), indexes);
}

void QxRoiTreeViewActionSet::mergeRois(const QModelIndex& target, const QList<QModelIndex>& sources) {
  QxRoiTreeModel* tree = modelOf(target);
  if (!tree || sources.size() < 2) return;
  std::vector<std::string> names;
  for (const QModelIndex& source : sources) {
    if (tree->getItem(source) != tree->getItem(target)) names.push_back(nameAt(*tree, source));
  }
  const McHandle<Mask> merged(tree->getRoot()->getRois()->mergeMasks(nameAt(*tree, target), names));
  merged->flush(Mask::AllLevels);
  hxroi::RowReplacement replacement(*tree, target);
  for (const QModelIndex& source : fromLowestRow(sources)) replacement.replace(source);
  replacement.run({merged});
}

// --- Subtract -----------------------------------------------------------------------------------------------------

void QxRoiTreeViewActionSet::subtractSelectedRois() {
  run([this](QxRoiTreeModel& /*tree*/) { subtractRois(currentIndex(), selectedRows()); });
}

void QxRoiTreeViewActionSet::subtractRois(const QString& target, const QString& source) {
  const QxRoiTreeModel* tree = model();
  if (!tree) return;
  const QModelIndex targetIndex = tree->indexFromName(target);
  subtractRois(targetIndex, {targetIndex, tree->indexFromName(source)});
}

void QxRoiTreeViewActionSet::subtractRois(const QModelIndex& target, const QList<QModelIndex>& sources) {
  QxRoiTreeModel* tree = modelOf(target);
  if (!tree || sources.size() != 2) return;
  const bool targetIsFirst = tree->getItem(sources[0]) == tree->getItem(target);
  const QModelIndex& other = sources[targetIsFirst ? 1 : 0];
  HxRois* rois = tree->getRoot()->getRois();
  const McHandle<HxRois> held = hxroi::holdSet(rois);
  const McHandle<Mask> rest(rois->substractMasks(nameAt(*tree, target), {nameAt(*tree, other)}));
  rest->flush(Mask::AllLevels);
  hxroi::RowReplacement replacement(*tree, target);
  replacement.replace(target);
  replacement.replace(other);
  if (replacement.run({rest})) rois->fire(1);
}
