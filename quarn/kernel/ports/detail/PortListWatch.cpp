#include "quarn/kernel/ports/detail/PortListWatch.h"

#include <utility>
#include <vector>

namespace quarn::detail {

namespace {

/// Constant initialisation: objects may be made and die at any time.
constinit std::vector<const PortListWatch*> watches;

}  // namespace

PortListWatch::PortListWatch(const HxObject* object, std::function<void()> changed)
    : object_(object), changed_(std::move(changed)) {
  watches.push_back(this);
}

PortListWatch::~PortListWatch() {
  std::erase(watches, this);
}

void PortListWatch::tell(const HxObject* object) {
  if (!object) return;
  for (const PortListWatch* watch : watches)
    if (watch->object_ == object) watch->changed_();
}

}  // namespace quarn::detail
