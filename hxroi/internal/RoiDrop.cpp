#include "hxroi/internal/RoiDrop.h"

#include <QDataStream>
#include <QIODevice>
#include <QItemSelectionModel>
#include <QMimeData>
#include <algorithm>

#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeModel.h"
#include "hxroi/internal/commandFailures.h"

namespace hxroi {

QMimeData* draggedNames(const QStringList& names) {
  QByteArray bytes;
  QDataStream stream(&bytes, QIODevice::WriteOnly);
  for (const QString& name : names) stream << name;
  auto* data = new QMimeData;
  data->setData(kDraggedNamesType, bytes);
  return data;
}

QStringList namesOf(const QMimeData& data) {
  QByteArray bytes = data.data(kDraggedNamesType);
  QDataStream stream(&bytes, QIODevice::ReadOnly);
  QStringList names;
  while (!stream.atEnd()) {
    QString name;
    stream >> name;
    if (stream.status() != QDataStream::Ok) break;
    names.append(name);
  }
  return names;
}

bool RoiDrop::add(const QString& name) {
  QxRoiTreeItem* item = model_.treeItemFromName(name);
  if (!item) return true;
  if (item->isGroup() && target_.isGroup()) return false;
  QxRoiTreeItem* source = item->parent();
  const int from = item->childNumber();
  // The rows behind its own move up when it leaves.
  const int to = source == &target_ && from < row_ ? row_ - 1 : row_;
  if (!model_.moveRoi(from, to, model_.indexFromTreeItem(source), model_.indexFromTreeItem(&target_), true)) {
    return true;
  }
  const QModelIndex moved = model_.indexFromTreeItem(item);
  selection_.merge(QItemSelection(moved, moved), QItemSelectionModel::Select);
  row_ = moved.row() + 1;
  return true;
}

}  // namespace hxroi

// --- The model's side ---------------------------------------------------------------------------------------------

QStringList QxRoiTreeModel::mimeTypes() const {
  return {hxroi::kDraggedNamesType};
}

QMimeData* QxRoiTreeModel::mimeData(const QModelIndexList& indexes) const {
  QStringList names;
  for (const QModelIndex& index : indexes) {
    if (!index.isValid()) continue;
    const QString name = getItem(index)->getName();
    if (!names.contains(name)) names.append(name);
  }
  return hxroi::draggedNames(names);
}

bool QxRoiTreeModel::dropMimeData(const QMimeData* data, Qt::DropAction /*action*/, int row, int /*column*/,
                                  const QModelIndex& parent) {
  QxRoiTreeItem* target = getItem(parent);
  if (!data || !data->hasFormat(hxroi::kDraggedNamesType) || !target || target->isMask()) return false;
  const bool isBetweenRows = row >= 0 && row <= target->childCount();
  hxroi::RoiDrop drop(*this, *target, isBetweenRows ? row : target->childCount());
  bool isDone = false;
  hxroi::showFailures([&] {
    const QStringList names = hxroi::namesOf(*data);
    isDone = std::all_of(names.begin(), names.end(), [&](const QString& name) { return drop.add(name); });
  });
  if (!isDone) return false;
  const QModelIndexList moved = drop.selection().indexes();
  const auto command = QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows;
  Q_EMIT updateCurrentIndex(moved.isEmpty() ? QModelIndex() : moved.last(), command);
  Q_EMIT updateSelection(drop.selection(), command);
  return true;
}
