#include "quarn/voxora/components/findComponents.h"

#include <algorithm>
#include <tbb/global_control.h>
#include <tbb/task_arena.h>

#include "quarn/voxora/components/detail/BlockSequence.h"
#include "quarn/voxora/components/detail/ComponentSweep.h"
#include "quarn/voxora/components/detail/LookAhead.h"
#include "quarn/voxora/morphology/detail/WorkMeter.h"

namespace hxvoxora {

namespace {

using detail::LabelledBlock;

int allowedThreads() {
  const auto limit = tbb::global_control::active_value(tbb::global_control::max_allowed_parallelism);
  return static_cast<int>(
      std::min<std::size_t>(limit, static_cast<std::size_t>(tbb::this_task_arena::max_concurrency())));
}

bool sweep(const detail::BlockGrid& blocks, Neighbours neighbours, const ComponentSink& sink,
           const WorkCallback& callback) {
  detail::BlockSequence sequence(blocks, neighbours);
  detail::ComponentSweep components(blocks, neighbours, sink);
  detail::BlockScratches scratches(blocks.blockSize());
  // One block for each thread, and one that is joined to the others meanwhile.
  const int threads = allowedThreads();
  detail::LookAhead<LabelledBlock> labelled(static_cast<std::size_t>(threads > 1 ? threads + 1 : 1));
  const auto start = [&] {
    LabelledBlock::Task& task = labelled.next().task;
    task.blocks = &blocks;
    task.scratches = &scratches;
    task.neighbours = neighbours;
    if (!sequence.next(task)) return false;
    labelled.start();
    return true;
  };
  detail::WorkMeter meter(callback);
  if (callback && !callback(0)) return false;
  std::int64_t done = 0;
  while (true) {
    while (!labelled.isFull() && start()) {
    }
    if (labelled.isEmpty()) break;
    if (!meter.mayGoOn(static_cast<double>(done) / static_cast<double>(sequence.count()))) return false;
    components.add(labelled.front());
    labelled.pop();
    ++done;
  }
  components.end();
  return true;
}

}  // namespace

bool findComponents(const TileSnapshot& volume, Neighbours neighbours, const ComponentSink& sink,
                    const WorkCallback& callback) {
  if (volume.grid().isEmpty()) return true;
  const detail::BlockGrid blocks(volume.table());
  return tbb::this_task_arena::isolate([&] { return sweep(blocks, neighbours, sink, callback); });
}

}  // namespace hxvoxora
