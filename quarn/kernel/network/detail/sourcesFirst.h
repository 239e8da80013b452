#pragma once

#include <vector>

class HxObject;

namespace quarn::detail {

/// The objects of the pool, each after all that its connections lead to, otherwise in the order of the pool. As results
/// are connected to their modules, a module comes before what it made.
std::vector<HxObject*> sourcesFirst();

}  // namespace quarn::detail
