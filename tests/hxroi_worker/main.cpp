#include <QCoreApplication>
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McColor.h"
#include "quarn/base/McHandle.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxPreferences.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "tests/hxroi_worker/randomMask.h"

/// A process that makes masks, for tests that kill it.
///
///   mask_worker TEMPORARY_DIRECTORY churn COUNT SEED   makes, flushes, checks and drops masks; a line for each prefix
///   mask_worker TEMPORARY_DIRECTORY hold COUNT SEED    makes and flushes masks, says "ready" and waits
///
/// The status is 0, or 1 when a mask is not what it was made as.

namespace {

using hxroi::details::Mask;

struct Made {
  McHandle<Mask> mask;
  std::uint64_t voxels;
};

std::uint64_t count(const Mask& mask) {
  const McVec3i& n = mask.dimensions();
  return mask.volumeMask()->countSetVoxels(SbBox3i32(SbVec3i32(0, 0, 0), SbVec3i32(n.x - 1, n.y - 1, n.z - 1)));
}

Made make(std::mt19937& random, int number) {
  const std::vector<bool> bits = randommask::bits(random);
  McHandle<Mask> mask(new Mask("mask" + std::to_string(number), randommask::kGrid, false, McColor(1, 0, 0), nullptr));
  {
    auto view = mask->getBox({0, 0, 0}, randommask::kGrid, hxroi::AccessMode::WriteOnly);
    std::copy(bits.begin(), bits.end(), view.begin());
  }
  mask->flush(0);
  std::printf("%s\n", mask->temporaryPrefix().c_str());
  std::fflush(stdout);
  return {mask, static_cast<std::uint64_t>(std::count(bits.begin(), bits.end(), true))};
}

/// The content as it is on disk, and that the files are there.
void check(const Made& made) {
  const McHandle<Mask> fromDisk(Mask::loadFromFile("again", made.mask->temporaryPrefix()));
  if (count(*fromDisk) == made.voxels && count(*made.mask) == made.voxels) return;
  std::fprintf(stderr, "%s: wrong voxels\n", made.mask->temporaryPrefix().c_str());
  std::exit(1);
}

void churn(int masks, std::mt19937& random) {
  std::deque<Made> held;
  for (int i = 0; i < masks; ++i) {
    held.push_back(make(random, i));
    if (held.size() <= 5) continue;
    check(held.front());
    held.pop_front();
  }
  for (const Made& made : held) check(made);
}

void hold(int masks, std::mt19937& random) {
  std::deque<Made> held;
  for (int i = 0; i < masks; ++i) held.push_back(make(random, i));
  std::printf("ready\n");
  std::fflush(stdout);
  for (;;) ::pause();
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  if (argc != 5) return 2;
  HxApplication::instance()->settings()->getPreferences()->setTemporaryDirectory(QString::fromLocal8Bit(argv[1]));
  std::mt19937 random(static_cast<std::uint32_t>(std::strtoul(argv[4], nullptr, 10)));
  try {
    (std::string(argv[2]) == "hold" ? hold : churn)(std::atoi(argv[3]), random);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
  return 0;
}
