#pragma once

#include <QAbstractTableModel>

#include "quarn/kernel/export.h"
#include "quarn/kernel/fields/HxTable.h"

namespace quarn::detail {

/// A table as rows and columns of a widget, to look at. It does not hear of changes: reset() tells it.
class QUARN_KERNEL_API TableModel : public QAbstractTableModel {
public:
  explicit TableModel(QObject* parent = nullptr) : QAbstractTableModel(parent) {}

  /// Shows another table, or what has become of the same; null for none. Not owned: it must be taken away before it
  /// dies.
  void reset(HxTable* table);

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  /// Texts to be shown; as EditRole the values, by which rows are sorted.
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
  HxTable* table_ = nullptr;
};

}  // namespace quarn::detail
