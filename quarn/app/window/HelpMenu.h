#pragma once

#include <QMenu>
#include <functional>

class HxObject;

namespace quarn::app {

/// The commands, told by the console, where they can be used at once; and what this program is.
class HelpMenu : public QMenu {
  Q_OBJECT

public:
  /// `chosen` is asked for the object at hand, null for none; `run` runs a command.
  HelpMenu(std::function<HxObject*()> chosen, std::function<void(const QString& command)> run,
           QWidget* parent = nullptr);

private:
  void tellOfChosen();
  void showAbout();

  std::function<HxObject*()> chosen_;
  std::function<void(const QString&)> run_;
};

}  // namespace quarn::app
