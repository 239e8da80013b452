#include "quarn/app/window/ScriptOutput.h"

#include <utility>

#include "quarn/kernel/script/HxInterpreter.h"

namespace quarn::app {

int ScriptOutput::write(ClientData output, const char* bytes, int count, int* /*error*/) {
  static_cast<ScriptOutput*>(output)->take(bytes, count);
  return count;
}

int ScriptOutput::close(ClientData /*output*/, Tcl_Interp* /*interp*/) {
  return 0;
}

void ScriptOutput::watch(ClientData /*output*/, int /*mask*/) {}

const Tcl_ChannelType ScriptOutput::kType = [] {
  Tcl_ChannelType type{};
  type.typeName = "console";
  type.version = TCL_CHANNEL_VERSION_5;
  type.closeProc = &ScriptOutput::close;
  type.outputProc = &ScriptOutput::write;
  type.watchProc = &ScriptOutput::watch;
  return type;
}();

namespace {

/// An interpreter knows the standard channels from the moment on when it is asked for one: before they are others.
Tcl_Channel knownChannel(Tcl_Interp* interp, int standard) {
  Tcl_GetChannel(interp, standard == TCL_STDERR ? "stderr" : "stdout", nullptr);
  return Tcl_GetStdChannel(standard);
}

}  // namespace

ScriptOutput::ScriptOutput(std::function<void(const QString&)> show, int standard)
    : show_(std::move(show)),
      interp_(HxInterpreter::instance().tclInterp()),
      standard_(standard),
      former_(knownChannel(interp_, standard)),
      channel_(Tcl_CreateChannel(&kType, standard == TCL_STDERR ? "consoleErrors" : "console", this, TCL_WRITABLE)) {
  Tcl_SetChannelOption(interp_, channel_, "-encoding", "utf-8");
  Tcl_SetChannelOption(interp_, channel_, "-translation", "lf");
  Tcl_SetChannelOption(interp_, channel_, "-buffering", "line");
  Tcl_SetStdChannel(channel_, standard_);
  Tcl_RegisterChannel(interp_, channel_);
}

ScriptOutput::~ScriptOutput() {
  Tcl_Flush(channel_);
  if (!line_.isEmpty()) show_(QString::fromUtf8(line_));
  Tcl_SetStdChannel(former_, standard_);
  Tcl_UnregisterChannel(interp_, channel_);
}

void ScriptOutput::take(const char* bytes, int count) {
  line_.append(bytes, count);
  for (qsizetype end = line_.indexOf('\n'); end >= 0; end = line_.indexOf('\n')) {
    const QByteArray line = line_.left(end);
    line_.remove(0, end + 1);
    show_(QString::fromUtf8(line));
  }
}

}  // namespace quarn::app
