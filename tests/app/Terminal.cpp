#include "tests/app/Terminal.h"

#include <array>
#include <chrono>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int patience = 10000;  // ms

/// Pointers to texts, a null pointer at the end.
std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

Terminal::Terminal(const Program& program, const std::vector<std::string>& arguments) {
  std::vector<std::string> words{QUARN_PROGRAM};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<std::string> variables{"TERM=xterm"};
  for (const QString& variable : program.environment.toStringList())
    if (!variable.startsWith("TERM=")) variables.push_back(variable.toStdString());
  const std::vector<char*> argv = pointersTo(words);
  const std::vector<char*> environment = pointersTo(variables);
  winsize size{};
  size.ws_col = 100;
  size.ws_row = 30;
  process_ = forkpty(&descriptor_, nullptr, nullptr, &size);
  if (process_ == 0) {
    execve(argv[0], argv.data(), environment.data());
    _exit(127);
  }
  EXPECT_GT(process_, 0);
}

Terminal::~Terminal() {
  if (process_ > 0) {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  if (descriptor_ >= 0) close(descriptor_);
}

void Terminal::type(const std::string& keys) const {
  EXPECT_EQ(static_cast<ssize_t>(keys.size()), write(descriptor_, keys.data(), keys.size()));
}

bool Terminal::shows(const std::string& text) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(patience);
  while (true) {
    const std::size_t found = screen_.find(text, seen_);
    if (found != std::string::npos) {
      seen_ = found + text.size();
      return true;
    }
    if (std::chrono::steady_clock::now() > end || !readMore(patience)) return false;
  }
}

int Terminal::status() {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(patience);
  int status = 0;
  while (waitpid(process_, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > end) return -1;
    if (!readMore(10)) usleep(10000);
  }
  process_ = -1;
  while (readMore(0)) continue;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool Terminal::readMore(int milliseconds) {
  pollfd source{descriptor_, POLLIN, 0};
  if (poll(&source, 1, milliseconds) <= 0) return false;
  std::array<char, 4096> chunk{};
  const ssize_t length = read(descriptor_, chunk.data(), chunk.size());
  if (length <= 0) return false;
  screen_.append(chunk.data(), static_cast<std::size_t>(length));
  return true;
}
