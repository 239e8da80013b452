#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

#include "tests/app/Program.h"

/// A run of the real executable on a terminal of its own.
class Terminal {
public:
  Terminal(const Program& program, const std::vector<std::string>& arguments);
  ~Terminal();
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  void type(const std::string& keys) const;
  /// Waits until `text` was shown since the last call; false after ten seconds or at the end of the program.
  bool shows(const std::string& text);
  /// Waits for the end of the program and returns its exit status, -1 for a crash or no end within ten seconds.
  int status();
  /// Everything shown so far.
  const std::string& screen() const { return screen_; }

private:
  bool readMore(int milliseconds);

  int descriptor_ = -1;
  pid_t process_ = -1;
  std::string screen_;
  std::size_t seen_ = 0;
};
