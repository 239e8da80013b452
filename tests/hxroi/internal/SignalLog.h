#pragma once

#include <QItemSelection>
#include <QObject>
#include <string>
#include <vector>

#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeModel.h"

/// The signals of a model, one text each: its name and what it tells; "-" stands for the invalid index.
class SignalLog : public QObject {
public:
  explicit SignalLog(QxRoiTreeModel& model) : model_(model) {
    const auto log = [this](const char* signal) {
      return [this, signal](const QModelIndex& parent, int first, int last) { add(signal, parent, first, last); };
    };
    connect(&model, &QAbstractItemModel::rowsInserted, this, log("rowsInserted"));
    connect(&model, &QAbstractItemModel::rowsRemoved, this, log("rowsRemoved"));
    connect(&model, &QxRoiTreeModel::modelRowsInserted, this, log("modelRowsInserted"));
    connect(&model, &QxRoiTreeModel::modelRowsRemoved, this, log("modelRowsRemoved"));
    connect(&model, &QxRoiTreeModel::modelRowMoved, this,
            [this](int from, int to, const QModelIndex& source, const QModelIndex& destination) {
              texts.push_back("modelRowMoved " + std::to_string(from) + " " + std::to_string(to) + " " + name(source) +
                              " " + name(destination));
            });
    connect(&model, &QAbstractItemModel::modelReset, this, [this] { texts.push_back("modelReset"); });
    connect(&model, &QAbstractItemModel::layoutChanged, this, [this] { texts.push_back("layoutChanged"); });
    connect(&model, &QAbstractItemModel::dataChanged, this, [this](const QModelIndex& first, const QModelIndex& last) {
      texts.push_back("dataChanged " + cell(first) + (first == last ? "" : " " + cell(last)));
    });
    connect(&model, &QxRoiTreeModel::updateCurrentIndex, this,
            [this](const QModelIndex& index, QItemSelectionModel::SelectionFlags flags) {
              texts.push_back("updateCurrentIndex " + name(index) + " " + std::to_string(flags.toInt()));
            });
    connect(&model, &QxRoiTreeModel::updateSelection, this,
            [this](const QItemSelection& selection, QItemSelectionModel::SelectionFlags flags) {
              std::string text = "updateSelection";
              for (const QModelIndex& index : selection.indexes()) text += " " + name(index);
              texts.push_back(text + " " + std::to_string(flags.toInt()));
            });
  }

  /// What was told since the last call.
  std::vector<std::string> take() { return std::exchange(texts, {}); }

  std::vector<std::string> texts;

private:
  std::string name(const QModelIndex& index) const {
    return index.isValid() ? model_.getItem(index)->getName().toStdString() : "-";
  }
  std::string cell(const QModelIndex& index) const { return name(index) + ":" + std::to_string(index.column()); }
  void add(const char* signal, const QModelIndex& parent, int first, int last) {
    texts.push_back(std::string(signal) + " " + name(parent) + " " + std::to_string(first) + " " +
                    std::to_string(last));
  }

  QxRoiTreeModel& model_;
};
