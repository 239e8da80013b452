#pragma once

#include <QComboBox>
#include <QPointer>

#include "quarn/kernel/objects/HxObjectPoolListener.h"

class HxConnection;
class HxObject;

namespace quarn::detail {

/// The source of a connection, and the list of the objects that may take its place. The list is made when it is opened,
/// so that it is never out of date.
class SourceBox : public QComboBox, public HxObjectPoolListener {
public:
  /// `connection` is that of the widget around this one.
  SourceBox(HxConnection& connection, QObject* guard, QWidget* parent);
  ~SourceBox() override;

  /// The source alone.
  void showSource();
  /// The name of the chosen object; empty for none.
  QString chosen() const { return currentData().toString(); }

  void showPopup() override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void objectRenamed(HxObject* object, const QString& oldName) override;

private:
  void fill();
  void addObject(const HxObject& object);

  HxConnection& connection_;
  const QPointer<QObject> guard_;  ///< as long as it is there the connection is
};

}  // namespace quarn::detail
