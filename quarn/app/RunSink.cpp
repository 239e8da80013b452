#include "quarn/app/RunSink.h"

#include "quarn/kernel/script/HxInterpreter.h"

namespace quarn::app {

void RunSink::critical(const QString& title, const QString& text) {
  if (shown_.insert(text).second) HxTerminalSink::critical(title, text);
  if (endsRun_) HxInterpreter::instance().requestExit(1);
}

}  // namespace quarn::app
