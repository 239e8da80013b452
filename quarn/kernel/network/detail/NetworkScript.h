#pragma once

#include <functional>
#include <string>

namespace quarn::detail {

/// One command of a script, or the place where none can be read.
struct ScriptCommand {
  std::string text;
  int line = 0;         ///< where it begins, from 1
  std::string problem;  ///< why there is no command here; empty when there is one
};

/// Calls `take` with the commands of a script (UTF-8), one after the other, until it answers false. Behind a line that
/// cannot be read it goes on with the next; behind a brace or quote that is never closed there is nothing more.
void forEachCommand(const std::string& script, const std::function<bool(const ScriptCommand&)>& take);

}  // namespace quarn::detail
