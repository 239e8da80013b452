#include "quarn/kernel/app/HxInterrupt.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <signal.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int wishesThatKill = 3;

std::atomic<bool> requested{false};
std::atomic<int> wishes{0};
std::atomic<int> firstEndSignal{0};
std::atomic<int> endSignals{0};

/// Pipes that the signal handler writes to: one wakes the listener's thread, the other loops that wait for input.
struct Pipe {
  int readEnd = -1;
  std::atomic<int> writeEnd{-1};
};
Pipe listenerPipe;
Pipe loopPipe;

/// Never destroyed: the listener's thread runs until the process ends.
std::function<void(int)>& listener() {
  static std::function<void(int)>& instance = *new std::function<void(int)>;
  return instance;
}

void wake(const Pipe& pipe, char number) {
  const int fd = pipe.writeEnd.load();
  if (fd < 0) return;
  [[maybe_unused]] const ssize_t written = write(fd, &number, 1);
}

void killBy(int signal) {
  ::signal(signal, SIG_DFL);
  raise(signal);
}

void wakeAll(int number) {
  requested.store(true);
  wake(listenerPipe, static_cast<char>(number));
  wake(loopPipe, static_cast<char>(number));
}

/// Signal handlers do only what they may.
void onInterrupt(int signal) {
  const int savedErrno = errno;
  const int number = ++wishes;
  if (number >= wishesThatKill) killBy(signal);
  wakeAll(number);
  errno = savedErrno;
}

void onEnd(int signal) {
  const int savedErrno = errno;
  int none = 0;
  firstEndSignal.compare_exchange_strong(none, signal);
  if (++endSignals >= wishesThatKill) killBy(signal);
  wishes.store(2);
  wakeAll(2);
  errno = savedErrno;
}

void openPipe(Pipe& pipe) {
  std::array<int, 2> ends{-1, -1};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return;
  fcntl(ends[1], F_SETFL, O_NONBLOCK);
  pipe.readEnd = ends[0];
  pipe.writeEnd.store(ends[1]);
}

/// Tcl's way to mark an asynchronous event takes a lock, so it must not be called from the signal handler itself.
void forwardWishes() {
  char number = 0;
  while (true) {
    const ssize_t n = read(listenerPipe.readEnd, &number, 1);
    if (n == 1 && listener()) listener()(number);
    if (n == 0 || (n < 0 && errno != EINTR)) return;
  }
}

void handle(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

bool isIgnored(int signal) {
  struct sigaction action {};
  return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

void installOnce() {
  openPipe(listenerPipe);
  openPipe(loopPipe);
  fcntl(loopPipe.readEnd, F_SETFL, O_NONBLOCK);
  std::thread(forwardWishes).detach();
  handle(SIGINT, onInterrupt);
  for (const int signal : {SIGTERM, SIGHUP}) {
    if (!isIgnored(signal)) handle(signal, onEnd);
  }
  // A file that may not grow is an error of the write.
  ::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace

void HxInterrupt::install() {
  static std::once_flag once;
  std::call_once(once, installOnce);
}

void HxInterrupt::request() {
  if (listenerPipe.writeEnd.load() >= 0) {
    raise(SIGINT);
    return;
  }
  requested.store(true);
  const int number = ++wishes;
  if (listener()) listener()(number);
}

bool HxInterrupt::isRequested() {
  return requested.load();
}

bool HxInterrupt::wasRequested() {
  return wishes.load() > 0;
}

int HxInterrupt::endSignal() {
  return firstEndSignal.load();
}

void HxInterrupt::answer() {
  requested.store(false);
}

void HxInterrupt::clear() {
  wishes.store(0);
  requested.store(false);
}

void HxInterrupt::setListener(std::function<void(int)> newListener) {
  listener() = std::move(newListener);
}

int HxInterrupt::descriptor() {
  return loopPipe.readEnd;
}

void HxInterrupt::drain() {
  std::array<char, 64> dropped{};
  while (loopPipe.readEnd >= 0 && read(loopPipe.readEnd, dropped.data(), dropped.size()) > 0) continue;
}
