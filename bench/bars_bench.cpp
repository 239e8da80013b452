#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <cstring>

#include "bench/bars.h"
#include "bench/peer.h"
#include "quarn/voxora/utilities/utilities.h"

namespace {

/// Takes an argument of our own: --tile_size=N sets the edge of the tiles, --best counts the best run of each.
bool takeArgument(const char* argument) {
  constexpr char tileSize[] = "--tile_size=";
  if (std::strcmp(argument, "--best") == 0) {
    bench::countBestRuns();
  } else if (std::strncmp(argument, tileSize, sizeof tileSize - 1) == 0) {
    hxvoxora::utilities::setDefaultTileSize(std::atoi(argument + sizeof tileSize - 1));
  } else {
    return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  argc = static_cast<int>(std::remove_if(argv + 1, argv + argc, takeArgument) - argv);
  bench::addOperatorBars(bench::Against::Loops);
  bench::addConstantBars();
  bench::addBoxBars();
  bench::addMembershipBars();
  if (bench::PeerMask::isAvailable()) {
    bench::addOperatorBars(bench::Against::Peer);
    bench::addBoundingBoxBars();
    bench::addMorphologyBars();
  }
  bench::addFileBars();
  bench::addComponentBars();
  bench::addLabelFieldBars();
  bench::addLabelBars();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
