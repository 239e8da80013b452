#pragma once

#include <benchmark/benchmark.h>
#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "bench/limits.h"

/// How runs are timed and reported.
namespace bench {

/// The seconds that a call takes.
template <class Call>
double secondsOf(Call call) {
  const auto start = std::chrono::steady_clock::now();
  call();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Times `run`; `prepare` puts things back before each run and is not timed. The limit goes into the report.
template <class Prepare, class Run>
void timeRuns(benchmark::State& state, const Limit& limit, Prepare prepare, Run run) {
  for (auto _ : state) {
    prepare();
    state.SetIterationTime(secondsOf(run));
  }
  state.counters["limit"] = limit.seconds;
  state.SetLabel(limit.text);
}

template <class Run>
void timeRuns(benchmark::State& state, const Limit& limit, Run run) {
  timeRuns(
      state, limit, [] {}, run);
}

/// Registers an operation on some data; one repetition is the mean of so many runs.
void add(const std::string& operation, const std::string& data, int runs, std::function<void(benchmark::State&)> body);

/// A folder below the system's one for temporary files; it goes with this object.
class ScratchFolder {
public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::string path() const { return path_.string(); }
  std::string path(const std::string& name) const { return (path_ / name).string(); }

private:
  std::filesystem::path path_;
};

/// The sizes of all regular files below a folder, in order of their paths.
std::vector<std::size_t> fileSizesBelow(const std::string& folder);

}  // namespace bench
