#pragma once

#include <benchmark/benchmark.h>
#include <functional>
#include <string>
#include <vector>

/// Our time beside the times of others, taken by turns in one run, so that a busy machine slows all of them alike.
namespace bench {

/// Who is timed. `prepare` puts things back before each run and is not timed.
struct Entrant {
  std::string name;
  double bar = 0;  ///< what our time may be at most, in times of this entrant; unused for ourselves
  std::function<void()> prepare;
  std::function<void()> run;
  double goal = 0;  ///< for one that does not run: the seconds that were promised
};

/// The entrants of an operation: ourselves first. Made when the operation is about to run, gone afterwards.
using Entrants = std::vector<Entrant>;

/// Whom we are held against. A peer leaves a heap behind that slows everybody down, so that loops come first.
enum class Against { Loops, Peer };

/// Registers an operation for one and for two threads; the time of a peer is the median of so many runs, ours
/// of 5 at least.
void addContest(const std::string& operation, const std::string& data, Against against, int runs,
                std::function<Entrants()> entrants);

/// From here on the best run counts instead of the median: for a look at ratios on a machine that is busy otherwise.
void countBestRuns();

/// Registers something else than a time: measure() may be `bar` at most.
void addFigure(const std::string& operation, const std::string& data, const std::string& unit, double bar,
               std::function<double()> measure);

}  // namespace bench
