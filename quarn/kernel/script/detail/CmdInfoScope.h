#pragma once

#include "quarn/kernel/export.h"
#include "quarn/kernel/script/HxCommands.h"

namespace quarn::detail {

/// Gives the object command that runs while this lives a list of commands of its own, which getCmdInfo() returns.
class QUARN_KERNEL_API CmdInfoScope {
public:
  CmdInfoScope();
  ~CmdInfoScope();
  CmdInfoScope(const CmdInfoScope&) = delete;
  CmdInfoScope& operator=(const CmdInfoScope&) = delete;

private:
  HxCmdInfo list_;
  HxCmdInfo* outer_;
};

}  // namespace quarn::detail
