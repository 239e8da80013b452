#include "quarn/kernel/network/detail/NetworkScript.h"

#include <algorithm>
#include <tcl.h>

#include "quarn/kernel/script/HxInterpreter.h"

namespace quarn::detail {
namespace {

/// Splits from the front; keeps count of lines.
class Splitter {
public:
  explicit Splitter(const std::string& script) : next_(script.data()), end_(next_ + script.size()) {}

  /// False at the end.
  bool takeNext(ScriptCommand& command) {
    while (next_ != end_) {
      Tcl_Parse parse;
      if (Tcl_ParseCommand(interp_, next_, static_cast<int>(end_ - next_), 0, &parse) != TCL_OK) {
        goTo(parse.commandStart);
        command = failure();
        return true;
      }
      const std::string text(parse.commandStart, static_cast<std::size_t>(parse.commandSize));
      const char* const behind = parse.commandStart + parse.commandSize;
      const bool isCommand = parse.numWords > 0;
      goTo(parse.commandStart);
      Tcl_FreeParse(&parse);
      command = {text, line_, ""};
      goTo(behind);
      if (isCommand) return true;
    }
    return false;
  }

private:
  ScriptCommand failure() {
    ScriptCommand failed{"", line_, Tcl_GetStringResult(interp_)};
    Tcl_ResetResult(interp_);
    goTo(Tcl_CommandComplete(next_) ? endOfLine() : end_);
    return failed;
  }

  const char* endOfLine() const {
    const char* const end = std::find(next_, end_, '\n');
    return end == end_ ? end : end + 1;
  }

  void goTo(const char* place) {
    line_ += static_cast<int>(std::count(next_, place, '\n'));
    next_ = place;
  }

  Tcl_Interp* const interp_ = HxInterpreter::instance().tclInterp();
  const char* next_;
  const char* const end_;
  int line_ = 1;
};

}  // namespace

void forEachCommand(const std::string& script, const std::function<bool(const ScriptCommand&)>& take) {
  Splitter splitter(script);
  ScriptCommand command;
  while (splitter.takeNext(command) && take(command)) continue;
}

}  // namespace quarn::detail
