#include "bench/peer_scipy.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace bench {

namespace {

/// The one that the system's packages are for.
constexpr char python[] = "/usr/bin/python3";
constexpr char script[] = QUARN_BENCH_FOLDER "/peer_scipy.py";

[[noreturn]] void fail() {
  throw std::runtime_error("there is no talking to SciPy");
}

struct Pipe {
  Pipe() {
    if (::pipe(ends) != 0) fail();
  }
  int ends[2];
};

/// Starts the script with these ends as standard input and output.
int start(const Pipe& orders, const Pipe& answers) {
  const int process = ::fork();
  if (process != 0) return process;
  ::dup2(orders.ends[0], STDIN_FILENO);
  ::dup2(answers.ends[1], STDOUT_FILENO);
  for (const Pipe* pipe : {&orders, &answers})
    for (const int end : pipe->ends) ::close(end);
  ::execl(python, python, script, nullptr);
  ::_exit(127);
}

}  // namespace

bool ScipyPeer::isAvailable() {
  static const bool isThere =
      std::system((std::string(python) + " -c 'import scipy.ndimage' 2>/dev/null").c_str()) == 0;
  return isThere;
}

ScipyPeer::ScipyPeer(const hxvoxora::TileSnapshot& content) {
  const Pipe orders, answers;
  process_ = start(orders, answers);
  ::close(orders.ends[0]);
  ::close(answers.ends[1]);
  orders_ = ::fdopen(orders.ends[1], "w");
  answers_ = ::fdopen(answers.ends[0], "r");
  if (process_ < 0 || !orders_ || !answers_) fail();
  const SbVec3i32& size = content.dimensions();
  std::vector<char> voxels(static_cast<std::size_t>(std::int64_t{size[0]} * size[1] * size[2]));
  content.forEachRun(content.grid().box(), [&](int y, int z, int x0, int x1) {
    char* const row = voxels.data() + (std::int64_t{z} * size[1] + y) * size[0];
    std::fill(row + x0, row + x1, 1);
  });
  std::fprintf(orders_, "%d %d %d\n", size[0], size[1], size[2]);
  std::fwrite(voxels.data(), 1, voxels.size(), orders_);
  if (answer() != "ready\n") fail();
}

ScipyPeer::~ScipyPeer() {
  if (orders_) std::fclose(orders_);
  if (answers_) std::fclose(answers_);
  if (process_ > 0) ::waitpid(process_, nullptr, 0);
}

std::string ScipyPeer::answer() {
  char line[64] = {};
  if (std::fflush(orders_) != 0 || !std::fgets(line, sizeof line, answers_)) fail();
  return line;
}

std::uint64_t ScipyPeer::grow(int iterations, bool isErosion) {
  std::fprintf(orders_, "%s %d\n", isErosion ? "erode" : "dilate", iterations);
  return std::stoull(answer());
}

}  // namespace bench
