#pragma once

#include <QMenu>
#include <functional>

class HxObject;
class HxSceneView;

namespace quarn::app {

class ViewPane;

/// What can be done with the picture: show the chosen object and hide it, look from a side, share the panes, save. It
/// does what the commands of a view do. For the user-interface thread.
class ViewMenu : public QMenu {
  Q_OBJECT

public:
  /// `pane` is not owned and lives as long as this; `chosen` gives the object that is meant, or null.
  ViewMenu(ViewPane* pane, std::function<HxObject*()> chosen, QWidget* parent = nullptr);

  /// Shows the first of these objects that can be shown, unless there is a view already, which somebody has arranged.
  void showFirst(const QStringList& names);
  /// Shows the chosen object, or hides it when it is shown. Makes a view when there is none.
  void toggleChosen();
  /// The entry for that, with the text for the object chosen now.
  QAction* toggleAction();

private:
  void addCameras();
  void addLayouts();
  void savePicture();
  /// Does something with the view, and shows what came of it.
  void withView(const std::function<void(HxSceneView&)>& work);

  ViewPane* pane_;
  std::function<HxObject*()> chosen_;
  QAction* toggle_;
};

}  // namespace quarn::app
