#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

class QxRoiTreeItem;
class QxRoiTreeModel;

namespace hxroi {

/// Which ROIs of a tree are visible, as a text for saved networks: "visibility ID 0|1 ID 0|1 ...", each group before
/// its masks.
class RoiVisibilityState {
public:
  static QString of(const QxRoiTreeModel& model);

  /// How the text names a ROI: by its identifier, unless a file gave it one that is not one word.
  static QString wordFor(const QString& id, const QString& name);
  static QString wordFor(const QxRoiTreeItem& item);

  /// Nothing for a text that is no such state.
  static std::optional<RoiVisibilityState> from(const QString& text);

  /// Calls `setVisible` for the ROIs of `model` that the state names, by name or identifier, then with false for those
  /// that it does not name; masks of a group are named by their identifier alone.
  void apply(const QxRoiTreeModel& model, const std::function<void(bool, const QString&)>& setVisible) const;

private:
  std::vector<std::pair<QString, bool>> entries_;
};

}  // namespace hxroi
