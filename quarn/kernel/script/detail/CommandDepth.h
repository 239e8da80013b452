#pragma once

namespace quarn::detail {

/// Counts the commands that run inside each other. For the user-interface thread.
class CommandDepth {
public:
  CommandDepth() { ++depth; }
  ~CommandDepth() { --depth; }
  CommandDepth(const CommandDepth&) = delete;
  CommandDepth& operator=(const CommandDepth&) = delete;
  bool isOutermost() const { return depth == 1; }

private:
  inline static int depth = 0;
};

}  // namespace quarn::detail
