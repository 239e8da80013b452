#pragma once

#include <QScrollArea>
#include <memory>

#include "quarn/base/McHandle.h"
#include "quarn/kernel/export.h"
#include "quarn/kernel/objects/HxObject.h"
#include "quarn/kernel/objects/HxObjectPoolListener.h"

class QVBoxLayout;

namespace quarn::detail {
class ObjectHeader;
class PortListWatch;
}  // namespace quarn::detail

/// The ports of an object, one below the other in their order, under its name and what it is; a table shows its rows.
///
/// Follows the object: ports that come get a widget, those that go take theirs along, hidden ones take no room, and a
/// widget that somebody destroys is made again. This happens when control is back at the event loop. A port has one
/// widget: a port that is shown elsewhere is not taken away from there.
class QUARN_KERNEL_API QxPropertyArea : public QScrollArea, public HxObjectPoolListener {
public:
  explicit QxPropertyArea(QWidget* parent = nullptr);
  ~QxPropertyArea() override;

  /// Shows the ports of `object` at once; null for none. The object is kept alive until another one is shown or it is
  /// taken out of the pool.
  void setObject(HxObject* object);
  HxObject* object() const { return object_; }

  /// Whether the area shows the object that the user selects; false at the start.
  void setFollowingSelection(bool follow) { followsSelection_ = follow; }
  bool isFollowingSelection() const { return followsSelection_; }

  void objectAboutToBeRemoved(HxObject* object) override;
  void objectRenamed(HxObject* object, const QString& oldName) override;
  void objectSelected(HxObject* object) override;

private:
  void dropWidgets();
  void lookLater();
  void look();
  void place(QWidget* widget, int row);

  McHandle<HxObject> object_;
  std::unique_ptr<quarn::detail::PortListWatch> watch_;
  quarn::detail::ObjectHeader* header_;
  QVBoxLayout* column_;
  bool followsSelection_ = false;
  bool willLook_ = false;
};
