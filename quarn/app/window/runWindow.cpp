#include "quarn/app/window/runWindow.h"

#include <QApplication>
#include <QSocketNotifier>
#include <QTimer>
#include <functional>
#include <tcl.h>

#include "quarn/app/window/DisplayLoss.h"
#include "quarn/app/window/MainWindow.h"
#include "quarn/app/window/ScriptOutput.h"
#include "quarn/app/window/WindowProgress.h"
#include "quarn/app/window/WindowSink.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxInterrupt.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/io/HxRecovery.h"
#include "quarn/kernel/objects/unsavedData.h"

namespace quarn::app {
namespace {

constexpr int SECOND = 1000;
constexpr int DELAYED_SCRIPTS_PAUSE = 50;

/// Runs the scripts of `after` that are due. False when there was none.
bool runDelayedScripts() {
  static bool isRunning = false;  // they may run events of the window
  if (isRunning) return false;
  isRunning = true;
  constexpr int flags = TCL_TIMER_EVENTS | TCL_IDLE_EVENTS | TCL_DONT_WAIT;
  const bool hasRun = Tcl_DoOneEvent(flags) != 0;
  isRunning = false;
  return hasRun;
}

/// Puts the window in the place of the terminal for as long as it lives.
class Stage {
public:
  explicit Stage(MainWindow& window)
      : sink_(window.console()), progress_(&window), output_(shownBy(window)), errors_(shownBy(window), TCL_STDERR) {
    formerSink_ = HxMessage::setSink(&sink_);
    formerProgress_ = HxApplication::setProgress(&progress_);
    HxApplication::setMainWidget(&window);
  }
  ~Stage() {
    HxApplication::setMainWidget(nullptr);
    HxApplication::setProgress(formerProgress_);
    HxMessage::setSink(formerSink_);
  }
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  bool isIdle() const { return !progress_.isRunning(); }

private:
  static std::function<void(const QString&)> shownBy(MainWindow& window) {
    return [&window](const QString& line) { window.console()->append(line); };
  }

  WindowSink sink_;
  WindowProgress progress_;
  ScriptOutput output_, errors_;
  HxMessageSink* formerSink_;
  McProgressInterface* formerProgress_;
};

/// Ctrl-C and signals to end, while nothing is under way.
class WishToEnd {
public:
  /// Signals end at once, and the session keeps what is not saved. So does Ctrl-C, but the first one asks when there is
  /// something to lose: it may have been meant for something else in the terminal.
  void obey(MainWindow& window) {
    if (HxInterrupt::endSignal()) return QApplication::exit(0);
    if (!isAsking_ && !unsavedData().isEmpty()) {
      isAsking_ = true;
      const bool ends = window.close();
      isAsking_ = false;
      HxInterrupt::clear();
      if (!ends) return;
    } else if (isAsking_) {
      HxRecovery::instance().keepUnsaved();
    }
    QApplication::exit(130);
  }

private:
  bool isAsking_ = false;
};

}  // namespace

int runWindow(const QStringList& files) {
  MainWindow window;
  const Stage stage(window);

  QTimer checkpoints;
  QObject::connect(&checkpoints, &QTimer::timeout, [&stage] {
    if (stage.isIdle()) HxRecovery::instance().checkpointIfDue();
  });
  checkpoints.start(SECOND);

  // What scripts put off until later.
  QTimer delayed;
  QObject::connect(&delayed, &QTimer::timeout, [&] {
    if (!stage.isIdle() || !runDelayedScripts()) return;
    HxInterrupt::clear();
    Q_EMIT window.console()->commandRun();
  });
  delayed.start(DELAYED_SCRIPTS_PAUSE);

  // Ctrl-C in the terminal that the window was started from, and signals to end; work under way hears of them itself.
  WishToEnd end;
  QSocketNotifier wishes(HxInterrupt::descriptor(), QSocketNotifier::Read);
  QObject::connect(&wishes, &QSocketNotifier::activated, [&] {
    HxInterrupt::drain();
    if (stage.isIdle()) end.obey(window);
  });
  // Closing asks about what is not saved.
  QObject::connect(window.console(), &ConsolePane::exitRequested, [&window](int status) {
    if (window.close()) QApplication::exit(status);
  });

  // What the program works with is there before this, so that it is there still when the end comes.
  const DisplayLoss loss([&stage] { return stage.isIdle(); });
  window.show();
  window.console()->setFocus();
  QTimer::singleShot(0, &window, [&] { window.loadFiles(files); });
  return QApplication::exec();
}

}  // namespace quarn::app
