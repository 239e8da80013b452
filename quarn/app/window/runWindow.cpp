#include "quarn/app/window/runWindow.h"

#include <QApplication>
#include <QSocketNotifier>
#include <QTimer>

#include "quarn/app/window/MainWindow.h"
#include "quarn/app/window/WindowProgress.h"
#include "quarn/app/window/WindowSink.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxInterrupt.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/io/HxRecovery.h"

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
  QSocketNotifier wishes(HxInterrupt::descriptor(), QSocketNotifier::Read);
  QObject::connect(&wishes, &QSocketNotifier::activated, [&stage] {
    HxInterrupt::drain();
    if (stage.isIdle()) QApplication::exit(HxInterrupt::endSignal() ? 0 : 130);
  });
  // Closing asks about what is not saved.
  QObject::connect(window.console(), &ConsolePane::exitRequested, [&window](int status) {
    if (window.close()) QApplication::exit(status);
  });

  window.show();
  window.console()->setFocus();
  QTimer::singleShot(0, &window, [&] { window.loadFiles(files); });
  return QApplication::exec();
}

}  // namespace quarn::app
