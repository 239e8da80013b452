#include "tests/voxora/corpus/probe.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr unsigned longestSeconds = 60;

double processorSeconds() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& t) {
    return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// The most resident memory since the last reset.
std::uint64_t peakBytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) return std::strtoull(line.c_str() + std::strlen("VmHWM:"), nullptr, 10) << 10;
  }
  throw std::runtime_error("no VmHWM in /proc/self/status");
}

void resetPeak() {
  std::ofstream file("/proc/self/clear_refs");
  file << "5";
  if (!file.flush()) throw std::runtime_error("cannot write /proc/self/clear_refs");
}

struct Figures {
  double seconds = 0;
  std::uint64_t bytes = 0;
};

/// In the child: writes the figures, then the text.
void report(int pipe, const std::function<std::string()>& action) {
  resetPeak();
  const std::uint64_t before = peakBytes();
  const double start = processorSeconds();
  const std::string text = action();
  const Figures figures{processorSeconds() - start, peakBytes() - before};
  if (::write(pipe, &figures, sizeof figures) != sizeof figures) ::_exit(2);
  if (::write(pipe, text.data(), text.size()) != static_cast<ssize_t>(text.size())) ::_exit(2);
}

[[noreturn]] void runChild(int pipe, const std::function<std::string()>& action) {
  ::alarm(longestSeconds);
  try {
    report(pipe, action);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "probe: %s\n", failure.what());
    ::_exit(1);
  }
  ::_exit(0);
}

std::string readAll(int pipe) {
  std::string text;
  char buffer[4096];
  for (ssize_t count; (count = ::read(pipe, buffer, sizeof buffer)) > 0;) {
    text.append(buffer, static_cast<std::size_t>(count));
  }
  return text;
}

}  // namespace

Probe probe(const std::function<std::string()>& action) {
  int ends[2];
  if (::pipe(ends) != 0) throw std::runtime_error("pipe");
  const pid_t child = ::fork();
  if (child < 0) throw std::runtime_error("fork");
  if (child == 0) runChild(ends[1], action);
  ::close(ends[1]);
  Probe result;
  result.text = readAll(ends[0]);
  ::close(ends[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  Figures figures;
  result.ended = WIFEXITED(status) && WEXITSTATUS(status) == 0 && result.text.size() >= sizeof figures;
  if (!result.ended) return result;
  std::memcpy(&figures, result.text.data(), sizeof figures);
  result.text.erase(0, sizeof figures);
  result.processorSeconds = figures.seconds;
  result.grownBytes = figures.bytes;
  return result;
}

Watch::Watch(const std::vector<std::string>& paths) : descriptor_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  constexpr std::uint32_t events = IN_OPEN | IN_ACCESS | IN_MODIFY | IN_ATTRIB | IN_MOVE_SELF | IN_DELETE_SELF;
  for (const std::string& path : paths) {
    if (::inotify_add_watch(descriptor_, path.c_str(), events) < 0) throw std::runtime_error("cannot watch " + path);
  }
}

Watch::~Watch() {
  ::close(descriptor_);
}

bool Watch::wasTouched() {
  char buffer[4096];
  return ::read(descriptor_, buffer, sizeof buffer) > 0;
}
