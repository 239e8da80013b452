#include "bench/contest.h"

#include <algorithm>
#include <limits>
#include <malloc.h>
#include <memory>
#include <oneapi/tbb/global_control.h>

#include "bench/measure.h"

namespace bench {

namespace {

bool bestRunCounts = false;

/// How often we run at least; peers that take seconds may run less often.
constexpr int leastOwnRuns = 5;

/// The time that stands for several.
double representative(std::vector<double>& values) {
  if (bestRunCounts) return *std::min_element(values.begin(), values.end());
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// Freed memory stays in the process, so that nobody waits for the system.
void keepHeap() {
  ::mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
  ::mallopt(M_MMAP_THRESHOLD, 1 << 30);
}

/// Small blocks that an earlier run freed are joined now: a large request does that, and the next run would pay for it.
void tidyHeap() {
  benchmark::DoNotOptimize(std::make_unique<char[]>(std::size_t{1} << 20));
}

/// The seconds of each entrant; they run by turns, and when the others have run often enough we go on alone.
std::vector<double> compete(const Entrants& entrants, int ownRuns, int peerRuns) {
  std::vector<std::vector<double>> seconds(entrants.size());
  for (int i = 0; i < ownRuns; ++i) {
    for (std::size_t k = 0; k < (i < peerRuns ? entrants.size() : 1); ++k) {
      if (!entrants[k].run) {
        seconds[k].push_back(entrants[k].goal);
        continue;
      }
      if (entrants[k].prepare) entrants[k].prepare();
      tidyHeap();
      seconds[k].push_back(secondsOf(entrants[k].run));
    }
  }
  std::vector<double> result;
  for (std::vector<double>& times : seconds) result.push_back(representative(times));
  return result;
}

void report(benchmark::State& state, const Entrants& entrants, const std::vector<double>& seconds) {
  for (std::size_t k = 1; k < entrants.size(); ++k) {
    state.counters["time of " + entrants[k].name] = seconds[k];
    state.counters["ratio to " + entrants[k].name] = seconds[0] / seconds[k];
    state.counters["bar of " + entrants[k].name] = entrants[k].bar;
  }
}

}  // namespace

void countBestRuns() {
  bestRunCounts = true;
}

void addContest(const std::string& operation, const std::string& data, Against against, int runs,
                std::function<Entrants()> entrants) {
  for (const unsigned threads : {1u, 2u}) {
    const std::string name = operation + "/" + data + "/threads " + std::to_string(threads) +
                             (against == Against::Peer ? "/peer" : "/loops");
    const auto body = [=](benchmark::State& state) {
      const tbb::global_control control(tbb::global_control::max_allowed_parallelism, threads);
      keepHeap();
      const Entrants all = entrants();
      compete(all, 1, 1);  // warms up
      const int ownRuns = std::max(runs, leastOwnRuns);
      for (auto _ : state) {
        const std::vector<double> seconds = compete(all, ownRuns, runs);
        state.SetIterationTime(seconds[0]);
        report(state, all, seconds);
        state.counters["runs of ours"] = ownRuns;
        state.counters["runs of others"] = runs;
      }
    };
    benchmark::RegisterBenchmark(name.c_str(), body)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);
  }
}

void addFigure(const std::string& operation, const std::string& data, const std::string& unit, double bar,
               std::function<double()> measure) {
  const auto body = [=](benchmark::State& state) {
    for (auto _ : state) {
      const double value = measure();
      state.SetIterationTime(1);
      state.counters["figure"] = value;
      state.counters["figure bar"] = bar;
    }
    state.SetLabel(unit);
  };
  benchmark::RegisterBenchmark((operation + "/" + data).c_str(), body)->Iterations(1)->UseManualTime();
}

}  // namespace bench
