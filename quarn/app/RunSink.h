#pragma once

#include <QString>
#include <set>

#include "quarn/kernel/app/HxTerminalSink.h"

namespace quarn::app {

/// The terminal of a run without a window. Work cannot go on after a critical message: a script or a command of the
/// command line ends with status 1 once the command that runs has returned. The same message is shown once.
class RunSink : public HxTerminalSink {
public:
  explicit RunSink(bool endsAfterCriticalMessage) : endsRun_(endsAfterCriticalMessage) {}

  void critical(const QString& title, const QString& text) override;

private:
  bool endsRun_;
  std::set<QString> shown_;
};

}  // namespace quarn::app
