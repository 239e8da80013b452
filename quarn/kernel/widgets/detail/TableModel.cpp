#include "quarn/kernel/widgets/detail/TableModel.h"

namespace quarn::detail {
namespace {

QVariant valueOf(const HxTable::Cell& cell) {
  if (const auto* text = std::get_if<std::string>(&cell)) return QString::fromStdString(*text);
  if (const auto* number = std::get_if<std::int64_t>(&cell)) return static_cast<qlonglong>(*number);
  if (const auto* real = std::get_if<double>(&cell)) return *real;
  return {};
}

}  // namespace

void TableModel::reset(HxTable* table) {
  beginResetModel();
  table_ = table;
  endResetModel();
}

int TableModel::rowCount(const QModelIndex& parent) const {
  return table_ && !parent.isValid() ? table_->rowCount() : 0;
}

int TableModel::columnCount(const QModelIndex& parent) const {
  return table_ && !parent.isValid() ? table_->columnCount() : 0;
}

/// The table may have lost rows that nobody told of.
QVariant TableModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount() || index.column() >= columnCount()) return {};
  switch (role) {
    case Qt::DisplayRole:
      return QString::fromStdString(table_->cellText(index.row(), index.column()));
    case Qt::EditRole:
      return valueOf(table_->cell(index.row(), index.column()));
    case Qt::TextAlignmentRole:
      return static_cast<int>(
          Qt::AlignVCenter |
          (table_->columnKind(index.column()) == HxTable::Kind::Text ? Qt::AlignLeft : Qt::AlignRight));
    default:
      return {};
  }
}

QVariant TableModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section >= 0 && section < columnCount())
    return QString::fromStdString(table_->columnName(section));
  return QAbstractTableModel::headerData(section, orientation, role);
}

}  // namespace quarn::detail
