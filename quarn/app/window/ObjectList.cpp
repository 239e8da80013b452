#include "quarn/app/window/ObjectList.h"

#include <algorithm>

#include "quarn/kernel/objects/HxObjectPool.h"

namespace quarn::app {

ObjectList::ObjectList(QObject* parent) : QAbstractListModel(parent) {
  HxObjectPool& pool = HxObjectPool::instance();
  for (const McHandle<HxObject>& object : pool.objects()) objects_.push_back(object.get());
  pool.addListener(this);
}

ObjectList::~ObjectList() = default;

HxObject* ObjectList::objectAt(const QModelIndex& index) const {
  return index.isValid() && index.row() < rowCount() ? objects_[static_cast<std::size_t>(index.row())] : nullptr;
}

QModelIndex ObjectList::indexOf(const HxObject* object) const {
  const auto found = std::find(objects_.begin(), objects_.end(), object);
  return found == objects_.end() ? QModelIndex() : index(static_cast<int>(found - objects_.begin()));
}

int ObjectList::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(objects_.size());
}

QVariant ObjectList::data(const QModelIndex& index, int role) const {
  const HxObject* object = objectAt(index);
  if (!object) return {};
  if (role == Qt::DisplayRole || role == Qt::EditRole) return object->getLabel();
  if (role == Qt::ToolTipRole) return QString::fromLatin1(object->getTypeId().getName());
  return {};
}

bool ObjectList::setData(const QModelIndex& index, const QVariant& value, int role) {
  HxObject* object = objectAt(index);
  const QString name = value.toString().trimmed();
  if (!object || role != Qt::EditRole || name.isEmpty()) return false;
  if (name != object->getLabel()) HxObjectPool::instance().rename(object, name);
  return true;
}

Qt::ItemFlags ObjectList::flags(const QModelIndex& index) const {
  const Qt::ItemFlags flags = QAbstractListModel::flags(index);
  return index.isValid() ? flags | Qt::ItemIsEditable : flags;
}

void ObjectList::objectAdded(HxObject* object) {
  const int row = rowCount();
  beginInsertRows(QModelIndex(), row, row);
  objects_.push_back(object);
  endInsertRows();
}

void ObjectList::objectAboutToBeRemoved(HxObject* object) {
  const QModelIndex index = indexOf(object);
  if (!index.isValid()) return;
  Q_EMIT leaving(object);
  beginRemoveRows(QModelIndex(), index.row(), index.row());
  objects_.erase(objects_.begin() + index.row());
  endRemoveRows();
}

void ObjectList::objectRenamed(HxObject* object, const QString&) {
  const QModelIndex index = indexOf(object);
  if (index.isValid()) Q_EMIT dataChanged(index, index);
}

}  // namespace quarn::app
