#include "hxroi/internal/SeveralRois.h"

#include <QPointer>
#include <algorithm>
#include <exception>
#include <utility>
#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/HxRoisHelpers.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/logFailure.h"
#include "hxroi/internal/ItemPlace.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeModel.h"
#include "hxroi/internal/RoiVisibilityState.h"
#include "hxroi/internal/RowReplacement.h"
#include "quarn/kernel/app/HxMessage.h"

namespace hxroi {

using details::Group;
using details::Mask;
using details::Roi;
using Items = QList<QxRoiTreeItem*>;

namespace {

/// Row in the top level, and row in the group or -1.
std::pair<int, int> placeOf(const QxRoiTreeItem* item) {
  if (!item->parent()->isGroup()) return {item->childNumber(), -1};
  return {item->parent()->childNumber(), item->childNumber()};
}

QList<QPointer<QxRoiTreeItem>> guarded(const Items& items) {
  return {items.begin(), items.end()};
}

/// Before anything is changed.
void checkPlaces(const Items& items) {
  for (const QxRoiTreeItem* item : items) checkPlace(*item->parent(), *item);
}

McHandle<Mask> combined(const QxRoiTreeModel& model, const QxRoiTreeItem& target, const Items& items,
                        Combination combination) {
  const bool intersects = combination == Combination::Intersection;
  const std::string name = target.getRoi()->name() + (intersects ? "-intersected" : "-xored");
  const McHandle<Mask> result(new Mask(model.getUniqueName(name), dynamic_cast<const Mask&>(*target.getRoi())));
  for (const QxRoiTreeItem* item : items) {
    if (item == &target) continue;
    const auto& other = dynamic_cast<const Mask&>(*item->getRoi());
    if (intersects) {
      *result &= other;
    } else {
      *result ^= other;
    }
  }
  result->flush(Mask::AllLevels);
  return result;
}

}  // namespace

Items topmostItems(const QxRoiTreeModel& model, const QModelIndexList& rows) {
  Items all;
  for (const QModelIndex& row : rows) {
    if (row.isValid()) all.append(model.getItem(row));
  }
  Items topmost;
  for (QxRoiTreeItem* item : std::as_const(all)) {
    if (item->parent() && !all.contains(item->parent())) topmost.append(item);
  }
  std::sort(topmost.begin(), topmost.end(), [](auto* a, auto* b) { return placeOf(a) < placeOf(b); });
  return topmost;
}

void combine(QxRoiTreeModel& model, const QModelIndex& current, const Items& items, Combination combination) {
  const bool areMasks = std::all_of(items.begin(), items.end(), [](const auto* item) { return item->isMask(); });
  if (items.size() < 2 || !areMasks) return;
  checkPlaces(items);
  QxRoiTreeItem* target = items.contains(model.getItem(current)) ? model.getItem(current) : items.front();
  const McHandle<Mask> result = combined(model, *target, items, combination);
  RowReplacement replacement(model, model.indexFromTreeItem(target));
  for (QxRoiTreeItem* item : items) replacement.replace(model.indexFromTreeItem(item));
  if (replacement.run({result}) && result->getBoundingBox().isEmpty())
    HxMessage::printf("%s has no voxels.", result->name().c_str());
}

void removeItems(QxRoiTreeModel& model, const Items& items) {
  checkPlaces(items);
  const auto rows = guarded(items);
  for (const auto& item : rows) {
    if (!item || !item->parent()) continue;
    delete model.removeRoi(item->childNumber(), model.indexFromTreeItem(item->parent()), true);
  }
}

void recolor(QxRoiTreeModel& model, const Items& items, const McColor& color) {
  const QColor chosen = QColor::fromRgbF(color.r, color.g, color.b);
  for (QxRoiTreeItem* item : items) item->setColor(chosen);
  if (items.isEmpty()) return;
  const QModelIndex last = model.indexFromTreeItem(items.back());
  model.setData(last.siblingAtColumn(QxRoiTreeItem::kColorColumn), chosen, Qt::EditRole);
}

// --- Visibility ---------------------------------------------------------------------------------------------------

namespace {

/// The ROIs themselves, and the groups or masks without which they could not be seen.
Items visibleWith(const Items& items) {
  Items visible;
  for (QxRoiTreeItem* item : items) {
    visible.append(item);
    visible.append(item->children());
    if (item->parent()->isGroup() && !visible.contains(item->parent())) visible.append(item->parent());
  }
  return visible;
}

void setVisible(const QxRoiTreeItem& parent, const Items& visible) {
  for (QxRoiTreeItem* item : parent.children()) {
    item->setVisible(visible.contains(item));
    setVisible(*item, visible);
  }
}

}  // namespace

void showOnly(QxRoiTreeModel& model, const Items& items) {
  if (items.isEmpty()) return;
  setVisible(*model.getRoot(), visibleWith(items));
  model.setData(model.indexFromTreeItem(items.front()), static_cast<int>(Qt::Checked), Qt::CheckStateRole);
}

namespace {

HxPort* treeOf(const HxObject* object) {
  return object ? object->findPort(QStringLiteral("roiVisibility")) : nullptr;
}

std::vector<McHandle<HxObject>> selectorsOf(const HxRois& rois) {
  std::vector<McHandle<HxObject>> selectors;
  for (const HxConnection* connection : rois.downstreamConnections()) {
    if (treeOf(connection->owner())) selectors.emplace_back(connection->owner());
  }
  return selectors;
}

}  // namespace

bool hasSelectors(const HxRois& rois) {
  return !selectorsOf(rois).empty();
}

void showOnlyInSelectors(const HxRois& rois, const Items& items) {
  if (items.isEmpty()) return;
  // Those that are not named become invisible.
  QString state = QStringLiteral("visibility");
  for (const QxRoiTreeItem* item : visibleWith(items)) state += " " + RoiVisibilityState::wordFor(*item) + " 1";
  for (const McHandle<HxObject>& selector : selectorsOf(rois)) {
    HxPort* tree = treeOf(selector);
    if (tree && tree->setState(state)) tree->send();
  }
}

// --- Groups -------------------------------------------------------------------------------------------------------

namespace {

/// Moves rows below another node; all of them go back when one is refused.
class Gathering {
public:
  Gathering(QxRoiTreeModel& model, QxRoiTreeItem& target) : model_(model), target_(&target) {}

  void take(QxRoiTreeItem& item) {
    const Step step{&item, item.parent(), item.childNumber()};
    if (move(item, *item.parent(), *target_, target_->childCount())) steps_.push_back(step);
  }

  void undo() noexcept {
    for (auto step = steps_.rbegin(); step != steps_.rend(); ++step) {
      attempt([&] {
        if (step->item && step->parent && target_) move(*step->item, *target_, *step->parent, step->row);
      });
    }
    attempt([&] {
      if (target_ && target_->childCount() == 0) delete model_.removeRoi(target_->childNumber(), {}, true);
    });
  }

private:
  struct Step {
    QPointer<QxRoiTreeItem> item;
    QPointer<QxRoiTreeItem> parent;
    int row;
  };

  bool move(const QxRoiTreeItem& item, const QxRoiTreeItem& from, const QxRoiTreeItem& to, int row) {
    return model_.moveRoi(item.childNumber(), row, model_.indexFromTreeItem(&from), model_.indexFromTreeItem(&to),
                          true);
  }

  template <class Action>
  static void attempt(Action action) noexcept {
    try {
      action();
    } catch (const std::exception& failure) {
      details::logFailure("A refused grouping of ROIs could not be undone", failure.what());
    }
  }

  QxRoiTreeModel& model_;
  const QPointer<QxRoiTreeItem> target_;
  std::vector<Step> steps_;
};

}  // namespace

QxRoiTreeItem* group(QxRoiTreeModel& model, const Items& items) {
  const auto members = guarded(items);
  const McHandle<Roi> group(new Group(model.getAvailableGroupName(), Roi::nextHtmlColor(), nullptr));
  HxRoisHelpers::setDefaultRoiColormapRange(model.getRoot()->getRois(), group);
  const QPointer<QxRoiTreeItem> groupItem = model.insertRoi(placeOf(items.front()).first, group, {}, true);
  if (!groupItem) return nullptr;
  Gathering gathering(model, *groupItem);
  try {
    for (const auto& member : members) {
      if (groupItem && member && member->parent()) gathering.take(*member);
    }
  } catch (...) {
    gathering.undo();
    throw;
  }
  return groupItem;
}

}  // namespace hxroi
