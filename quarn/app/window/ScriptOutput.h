#pragma once

#include <QByteArray>
#include <QString>
#include <functional>
#include <tcl.h>

namespace quarn::app {

/// Takes what scripts write to a standard channel while it lives, line by line. For the user-interface thread.
class ScriptOutput {
public:
  /// `show` gets each line without its end; the rest of a last one when this object goes. `standard` is TCL_STDOUT or
  /// TCL_STDERR.
  explicit ScriptOutput(std::function<void(const QString& line)> show, int standard = TCL_STDOUT);
  ~ScriptOutput();
  ScriptOutput(const ScriptOutput&) = delete;
  ScriptOutput& operator=(const ScriptOutput&) = delete;

private:
  static int write(ClientData output, const char* bytes, int count, int* error);
  static int close(ClientData output, Tcl_Interp* interp);
  static void watch(ClientData output, int mask);
  void take(const char* bytes, int count);

  static const Tcl_ChannelType kType;

  const std::function<void(const QString&)> show_;
  QByteArray line_;
  Tcl_Interp* const interp_;  ///< before all else: it sets Tcl up
  const int standard_;
  Tcl_Channel former_;
  Tcl_Channel channel_;
};

}  // namespace quarn::app
