#pragma once

#include <QTableView>

namespace quarn::detail {

/// Rows and columns to look at. Copying takes all that is selected, as lines with tabs, for spreadsheets.
class CellsView : public QTableView {
public:
  using QTableView::QTableView;

protected:
  void keyPressEvent(QKeyEvent* event) override;

private:
  QString selectedText() const;
};

}  // namespace quarn::detail
