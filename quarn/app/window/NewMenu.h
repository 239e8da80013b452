#pragma once

#include <QMenu>
#include <functional>

class HxObject;

namespace quarn::app {

/// What can be made: first what takes the chosen object as its input, then objects of any class. Filled when it opens.
/// It works by commands, so that the console tells how a script does the same.
class NewMenu : public QMenu {
  Q_OBJECT

public:
  /// `chosen` is asked for the object at hand, null for none; `run` runs a command.
  NewMenu(std::function<HxObject*()> chosen, std::function<void(const QString& command)> run,
          QWidget* parent = nullptr);

  /// Fills the menu for the object at hand, as opening it does.
  void fill();

Q_SIGNALS:
  /// An object was made, connected and evaluated.
  void made(HxObject* object);

private:
  void addFor(HxObject& source);
  void addClasses();
  void make(const QString& className, const QString& port, const QString& source);
  void runWords(const QStringList& words);

  std::function<HxObject*()> chosen_;
  std::function<void(const QString&)> run_;
};

}  // namespace quarn::app
