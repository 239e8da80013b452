#pragma once

#include <QAbstractListModel>
#include <vector>

#include "quarn/kernel/objects/HxObjectPoolListener.h"

namespace quarn::app {

/// The objects of the pool, in the order of their coming, as a list for a view: the name, the class as tool tip.
/// Renaming in the view renames the object. Follows the pool. For the user-interface thread.
class ObjectList : public QAbstractListModel, private HxObjectPoolListener {
  Q_OBJECT

public:
  explicit ObjectList(QObject* parent = nullptr);
  ~ObjectList() override;

  /// The object of a row; null for an index that is none.
  HxObject* objectAt(const QModelIndex& index) const;
  QModelIndex indexOf(const HxObject* object) const;

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role) override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;

Q_SIGNALS:
  /// The object is about to leave the list; it is still whole.
  void leaving(HxObject* object);

private:
  void objectAdded(HxObject* object) override;
  void objectAboutToBeRemoved(HxObject* object) override;
  void objectRenamed(HxObject* object, const QString& oldName) override;

  std::vector<HxObject*> objects_;
};

}  // namespace quarn::app
