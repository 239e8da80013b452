#pragma once

#include <QListView>
#include <QMainWindow>
#include <QStringList>

#include "quarn/app/window/ConsolePane.h"
#include "quarn/app/window/ObjectList.h"

class QSplitter;
class QxPropertyArea;

namespace quarn::app {

class ViewMenu;

/// The window: objects on the left, beside them the ports of the chosen one, on the right the picture of a view when
/// there is one, the console at the bottom. Everything that it does can be done by commands, too. For the
/// user-interface thread.
class MainWindow : public QMainWindow {
  Q_OBJECT

public:
  MainWindow();
  ~MainWindow() override;

  ConsolePane* console() const { return console_; }
  /// Loads files; what goes wrong with one is shown, and the others are loaded.
  void loadFiles(const QStringList& files);
  /// The object whose ports are shown; null for none.
  HxObject* chosen() const;
  void choose(HxObject* object);

protected:
  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

private:
  void makePanes();
  void makeMenus();
  void addViewPane();
  void followState();
  void askForFiles();
  void saveChosen();
  void saveNetwork();
  void removeChosen();
  void showObjectMenu(const QPoint& place);

  ObjectList* objects_;
  QListView* list_;
  QxPropertyArea* properties_;
  ConsolePane* console_;
  QSplitter* columns_;
  ViewMenu* viewMenu_ = nullptr;  ///< null in a program without the view
};

}  // namespace quarn::app
