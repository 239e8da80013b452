#pragma once

#include <QLabel>
#include <QWidget>

#include "quarn/kernel/objects/HxObject.h"
#include "quarn/kernel/widgets/detail/CellsView.h"
#include "quarn/kernel/widgets/detail/TableModel.h"

namespace quarn::detail {

/// What stands above the ports of an object: its name, what it is, and the rows of a table. Looks now and then whether
/// the object has changed.
class ObjectHeader : public QWidget {
public:
  explicit ObjectHeader(QWidget* parent = nullptr);

  /// Not owned; null for none.
  void setObject(HxObject* object);
  /// Shows the object as it is now.
  void refresh();

private:
  void refreshIfTouched();

  HxObject* object_ = nullptr;  // kept alive by the area
  std::uint32_t touchTime_ = 0;
  QLabel* title_;
  QLabel* facts_;
  CellsView* cells_;
  TableModel* model_;
};

}  // namespace quarn::detail
