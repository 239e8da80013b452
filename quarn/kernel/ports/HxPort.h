#pragma once

#include <QFrame>
#include <QHBoxLayout>
#include <QPointer>
#include <QString>
#include <QWidget>
#include <functional>
#include <memory>
#include <tcl.h>

#include "quarn/base/McTypedClass.h"
#include "quarn/kernel/export.h"
#include "quarn/kernel/objects/HxNewFlags.h"

class HxObject;

/// A part of an object that the user, scripts or other objects act upon: a button, a value, a connection.
///
/// A port belongs to whoever made it, mostly as a member of its object, and may be made and deleted at any time, also
/// while its object is being evaluated. A fresh port is new with every flag, until the end of the first evaluation or
/// untouch(). For the user-interface thread, except touch() and the questions about marks.
class QUARN_KERNEL_API HxPort {
public:
  MC_ROOT_CLASS_DECL(HxPort)

  virtual ~HxPort();

  /// The state worth saving with a network; leaves `state` alone when there is none.
  virtual void getState(QString& state) const;
  /// Takes a state from getState(); false when it is not understood, and nothing is changed then.
  virtual bool setState(const QString& state);

  /// Runs a script command: argv[0] is the port's name, argv[1] the command. Results as for HxObject::parse(). Commands
  /// of every port: getState, setState TEXT, touch, send, getLabel, show, hide, isVisible.
  virtual int parse(Tcl_Interp* interp, int argc, char** argv);

  /// Makes frame() and layout() with the label; ports add their own widgets to the layout. They show the values of the
  /// port whoever changes them, and what the user does to them changes the port and has the object evaluated. May be
  /// called again after the widget was destroyed, or to have another one in its place.
  virtual void createWidget(QWidget* parent);

  HxPort(const HxPort&) = delete;
  HxPort& operator=(const HxPort&) = delete;

  /// The object; null once that has gone.
  HxObject* owner() const { return owner_; }
  const QString& getName() const { return name_; }
  /// Scripts address the port by its new name at once.
  void setName(const QString& name) { name_ = name; }
  const QString& getLabel() const { return label_; }
  void setLabel(const QString& label);

  /// Marks the port; evaluates nothing. For any thread.
  void touch(unsigned int flags = 0xFFFFFFFFu) { newFlags_.raise(flags); }
  void untouch() { newFlags_.clear(); }
  /// True when any of `flags` is marked.
  bool isNew(unsigned int flags = 0xFFFFFFFFu) const { return newFlags_.has(flags); }
  unsigned int getNewFlags() const { return newFlags_.value(); }
  /// Has the object evaluated.
  void send();

  /// Showing and hiding neither marks nor evaluates.
  void show() { setVisible(true); }
  void hide() { setVisible(false); }
  void setVisible(bool visible);
  bool isVisible() const { return visible_; }

  /// The widget and its layout; null while there is none.
  QFrame* frame() const { return frame_; }
  QHBoxLayout* layout() const;

protected:
  /// Appends the port to the ports of `owner`.
  HxPort(HxObject* owner, const QString& name, const QString& label = QString());

  /// Does what the user wants, then has the object evaluated. Failures are shown. The port and its widget may go
  /// meanwhile, so this is the last thing that the answer to a signal does.
  void act(const std::function<void()>& change);
  /// The receiver for signals of the own widgets: it dies with them or, at once, with the port.
  QObject* receiver() const { return receiver_; }
  /// A part of the widget by its object name; null while there is none.
  template <class Widget>
  Widget* findWidget(const QString& name) const {
    return frame_ ? frame_->findChild<Widget*>(name) : nullptr;
  }
  /// Called when the widget is made, and when the label has changed.
  virtual void showLabel();

  /// The evaluation has seen the marks raised so far; it is over. Ports that keep more than marks extend both.
  virtual void settleMarks() { newFlags_.settle(); }
  virtual void clearMarks() { newFlags_.clearSettled(); }

private:
  friend class HxObject;

  int parseSetState(const QString& state);
  void dropWidget();

  HxObject* owner_;
  QString name_;
  QString label_;
  HxNewFlags newFlags_;
  bool visible_ = true;
  QPointer<QFrame> frame_;
  QPointer<QObject> receiver_;
  int acting_ = 0;  ///< calls of act() that run
  const std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};
