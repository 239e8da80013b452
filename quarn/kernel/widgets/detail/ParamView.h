#pragma once

#include <QElapsedTimer>
#include <QWidget>
#include <memory>

#include "quarn/kernel/params/detail/ParamDraft.h"

class QLabel;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace quarn::detail {

/// Parameters as a tree with names, types and values, all of which can be edited, and buttons to add and remove some.
/// Edits stay in a draft until write(). Its parts: the tree "parameters", the buttons "newParameter", "newBundle" and
/// "remove", the label "refusal" with the reason why the last edit was refused.
class ParamView : public QWidget {
public:
  explicit ParamView(QWidget* parent);
  ~ParamView() override;

  /// Shows a draft of `bundle`, which may be null.
  void show(const HxParamBundle* bundle);
  /// Ends an edit under way and writes what was edited.
  void write(HxParamBundle& bundle);
  /// Whether an edit was refused so short a time ago that the user cannot have read why.
  bool hasRefusedJustNow() const;

private:
  void addItems(HxParamBundle& bundle, QTreeWidgetItem* parent);
  QTreeWidgetItem* addItem(HxParamBundle& bundle, HxParamBase& element, QTreeWidgetItem* parent);
  void showElement(QTreeWidgetItem& item);
  void takeEdit(QTreeWidgetItem& item, int column);
  void startEdit(QTreeWidgetItem* item, int column);
  void add(HxParamBase* (ParamDraft::*make)(HxParamBundle&));
  void removeCurrent();
  void endEdit();
  void showRefusal(const QString& reason);
  void showButtons();

  std::unique_ptr<ParamDraft> draft_;
  QTreeWidget* tree_;
  QLabel* refusal_;
  QPushButton* newParameter_;
  QPushButton* newBundle_;
  QPushButton* remove_;
  QElapsedTimer refused_;  ///< since the refusal that is shown
  bool showing_ = false;   ///< the tree changes because of us
};

}  // namespace quarn::detail
