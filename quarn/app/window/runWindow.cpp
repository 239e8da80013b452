#include "quarn/app/window/runWindow.h"

#include <QApplication>
#include <QSocketNotifier>
#include <QTimer>

#include "quarn/app/window/DisplayLoss.h"
#include "quarn/app/window/MainWindow.h"
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

/// Puts the window in the place of the terminal for as long as it lives.
class Stage {
public:
  explicit Stage(MainWindow& window) : sink_(window.console()), progress_(&window) {
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
  WindowSink sink_;
  WindowProgress progress_;
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
