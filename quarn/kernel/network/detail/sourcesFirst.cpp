#include "quarn/kernel/network/detail/sourcesFirst.h"

#include <set>

#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/ports/HxConnection.h"

namespace quarn::detail {
namespace {

/// Appends what `start` depends on, then `start`; what is in `seen` is there already. Connections make no circles.
void appendWithSources(HxObject* start, std::set<HxObject*>& seen, std::vector<HxObject*>& order) {
  struct Step {
    HxObject* object;
    std::size_t nextPort;
  };
  if (!seen.insert(start).second) return;
  std::vector<Step> path{{start, 0}};
  while (!path.empty()) {
    Step& step = path.back();
    if (step.nextPort == step.object->ports().size()) {
      order.push_back(step.object);
      path.pop_back();
      continue;
    }
    const auto* connection = dynamic_cast<const HxConnection*>(step.object->ports()[step.nextPort++]);
    HxObject* source = connection ? connection->source() : nullptr;
    if (source && source->isInPool() && seen.insert(source).second) path.push_back({source, 0});
  }
}

}  // namespace

std::vector<HxObject*> sourcesFirst() {
  std::set<HxObject*> seen;
  std::vector<HxObject*> order;
  for (const McHandle<HxObject>& object : HxObjectPool::instance().objects()) {
    appendWithSources(object, seen, order);
  }
  return order;
}

}  // namespace quarn::detail
