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

#include "hxroi/HxRois.h"
#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/TemporaryFolder.h"
#include "quarn/base/McColor.h"
#include "quarn/base/McHandle.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxPreferences.h"
#include "quarn/kernel/io/HxRecovery.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/voxora/files/PassingFileSystem.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "tests/hxroi_worker/killedWork.h"
#include "tests/hxroi_worker/numberedSet.h"
#include "tests/hxroi_worker/randomMask.h"
#include "tests/hxroi_worker/smallDisk.h"

/// A process that makes masks or sets, for tests that kill it or run several.
///
///   hxroi_worker TEMPORARY_DIRECTORY churn COUNT SEED
///       makes, flushes, checks and drops masks; a line for each prefix
///   hxroi_worker TEMPORARY_DIRECTORY hold COUNT SEED
///       makes and flushes masks, says "ready" and waits
///   hxroi_worker TEMPORARY_DIRECTORY set COUNT SEED
///       makes a set of them, in a group but the first, with one empty mask, waits for a checkpoint, prints "id NAME
///       ID" of each ROI and "ready", and waits
///   hxroi_worker TEMPORARY_DIRECTORY save COUNT SEED FILE
///       saves sets of the numbers from SEED on; a line for each
///   hxroi_worker TEMPORARY_DIRECTORY load COUNT SEED FILE
///       loads a set again and again and checks it; a line with each number
///   hxroi_worker TEMPORARY_DIRECTORY MODE COUNT SEED FILE
///       works until it is killed, see killedWork.h
///   hxroi_worker TEMPORARY_DIRECTORY disks COUNT SEED FILE
///       saves on disks of many sizes, see smallDisk.h; the status is 77 when it cannot make any
///
/// The status is 0, or 1 when a mask or set is not what it was made as, or could not be saved or loaded.

namespace {

using hxroi::details::Group;
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

McHandle<HxRois> makeSet(int masks, std::mt19937& random) {
  McHandle<HxRois> rois(new HxRois);
  rois->setLabel("atlas [x] \"y\"");
  rois->parameters.set("species", "mouse");
  const McHandle<Group> group(new Group("Group", McColor(0, 0, 1), nullptr));
  group->setProperty("side", "left");
  for (int i = 0; i < masks; ++i) {
    const McHandle<Mask> mask = make(random, i).mask;
    mask->setColor(McColor(static_cast<float>(i) / 8, 0.5F, 0));
    mask->setProperty("number", i);
    if (i == 0) {
      rois->addRoi(mask);
    } else {
      group->addMask(mask);
    }
  }
  rois->addRoi(group);
  rois->addRoi(McHandle<Mask>(new Mask("Empty", randommask::kGrid, false, McColor(1, 1, 0), nullptr)));
  return rois;
}

void holdSet(int masks, std::mt19937& random) {
  const McHandle<HxRois> rois = makeSet(masks, random);
  HxObjectPool::instance().add(rois, "rois");
  HxRecovery::instance().setInterval(1);
  while (HxRecovery::instance().untilCheckpoint() != 0) ::usleep(10'000);
  HxRecovery::instance().checkpointIfDue();
  for (const auto& roi : *rois) {
    std::printf("id %s %s\n", roi->name().c_str(), roi->id().c_str());
    if (const auto* group = dynamic_cast<const Group*>(roi.get()))
      for (const Mask& member : *group) std::printf("id %s %s\n", member.name().c_str(), member.id().c_str());
  }
  std::printf("ready\n");
  std::fflush(stdout);
  for (;;) ::pause();
}

void saveSets(int count, int firstNumber, const char* file) {
  for (int i = 0; i < count; ++i) {
    // One that was saved here before would not replace what others have saved meanwhile.
    const McHandle<HxRois> set(new HxRois);
    set->setLabel("set");
    numberedset::fill(*set, firstNumber + i);
    if (!set->writeQuarnMesh(file) || set->isModified()) std::exit(1);
    std::printf("%d\n", firstNumber + i);
    std::fflush(stdout);
  }
}

void loadSets(int count, const char* file) {
  for (int i = 0; i < count; ++i) {
    const auto mesh = QuarnMesh::read(QString::fromLocal8Bit(file));
    const McHandle<HxRois> set(new HxRois);
    set->setLabel("set");
    QString name;
    if (!set->readQuarnMesh(mesh.get(), file, name)) std::exit(1);
    const int number = numberedset::numberOf(*set);
    std::printf("%d\n", number);
    if (number < 0) std::exit(1);
  }
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  if (argc != 5 && argc != 6) return 2;
  HxApplication::instance()->settings()->getPreferences()->setTemporaryDirectory(QString::fromLocal8Bit(argv[1]));
  // Only processes end here, not the computer.
  hxvoxora::PassingFileSystem files(hxvoxora::FileSystem::posix());
  const hxvoxora::FileSystemOverride current(files);
  const std::string mode = argv[2];
  const int count = std::atoi(argv[3]);
  std::mt19937 random(static_cast<std::uint32_t>(std::strtoul(argv[4], nullptr, 10)));
  try {
    if (mode == "set") holdSet(count, random);
    if (mode == "hold") hold(count, random);
    if (mode == "churn") churn(count, random);
    if (mode == "save" && argc == 6) saveSets(count, std::atoi(argv[4]), argv[5]);
    if (mode == "load" && argc == 6) loadSets(count, argv[5]);
    if (mode == "disks" && argc == 6 && !saveOnSmallDisks(argv[5])) return 77;
    if (argc == 6) runUntilKilled(mode, std::atoi(argv[4]), argv[5]);
    hxroi::details::TemporaryFolder::leave();
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
  return 0;
}
