#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// What a process of its own said and needed to do something.
struct Probe {
  std::string text;
  bool ended = false;            ///< it came to its end: no crash, no hang
  double processorSeconds = 0;   ///< of the action; other processes do not count
  std::uint64_t grownBytes = 0;  ///< most resident memory during the action, beyond that before it
};

/// Runs `action` in a forked process and hands back the text it returns. A process that takes longer than a minute is
/// killed. The action must not need other threads.
Probe probe(const std::function<std::string()>& action);

/// Notices that somebody opens, reads or changes one of some files.
class Watch {
public:
  explicit Watch(const std::vector<std::string>& paths);
  ~Watch();

  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  /// True when something happened to a file since the watch began, or was last asked.
  bool wasTouched();

private:
  int descriptor_;
};
