#include "quarn/kernel/objects/detail/HxEvaluation.h"

#include <algorithm>
#include <utility>

#include "quarn/kernel/objects/HxObject.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/ports/HxConnection.h"

namespace quarn::detail {

namespace {

constexpr unsigned int kConnectionChanged = 1;

bool contains(const std::vector<HxObject*>& objects, const HxObject* object) {
  return std::find(objects.begin(), objects.end(), object) != objects.end();
}

void addOnce(std::vector<HxObject*>& objects, HxObject* object) {
  if (!contains(objects, object)) objects.push_back(object);
}

/// A reference to an object that somebody holds. One that nobody holds yet would be deleted by ours.
McHandle<HxObject> hold(HxObject& object) {
  return object.refCount() > 0 ? &object : nullptr;
}

}  // namespace

thread_local HxEvaluation* HxEvaluation::innermost_ = nullptr;

HxEvaluation::HxEvaluation() : outer_(std::exchange(innermost_, this)) {}

HxEvaluation::~HxEvaluation() {
  clearMarks();
  innermost_ = outer_;
}

void HxEvaluation::fire(HxObject& object, bool downstream) {
  if (HxEvaluation* run = runOf(object)) {
    run->wish(object);
    return;
  }
  const auto held = hold(object);
  HxEvaluation run;
  run.pass({&object}, downstream);
  // Once more, and no oftener: an object that fires itself whenever it is evaluated must come to an end.
  if (!run.wishes_.empty()) run.pass(std::exchange(run.wishes_, {}), downstream);
}

void HxEvaluation::fireAfter(const HxObject& module, HxObject& object) {
  HxEvaluation* run = runOf(module);
  if (run && run->current_ == &module) {
    run->schedule(object);
  } else {
    fire(object, true);
  }
}

void HxEvaluation::forget(const HxObject& object) {
  for (HxEvaluation* run = innermost_; run; run = run->outer_) {
    if (run->current_ == &object) run->current_ = nullptr;
    for (Objects* objects : {&run->roots_, &run->waiting_, &run->evaluated_, &run->wishes_})
      std::erase(*objects, &object);
  }
}

HxEvaluation* HxEvaluation::runOf(const HxObject& object) {
  HxEvaluation* run = innermost_;
  while (run && !run->hasStarted(object)) run = run->outer_;
  return run;
}

bool HxEvaluation::hasStarted(const HxObject& object) const {
  return current_ == &object || contains(evaluated_, &object);
}

void HxEvaluation::pass(Objects roots, bool downstream) {
  roots_ = roots;
  waiting_ = std::move(roots);
  while (HxObject* next = takeNext()) {
    const auto held = hold(*next);
    evaluate(*next);
    if (current_ && current_->isInPool()) HxObjectPool::instance().notifyEvaluated(current_);
    if (current_) propagate(*std::exchange(current_, nullptr), downstream);
  }
  clearMarks();
}

HxObject* HxEvaluation::takeNext() {
  if (waiting_.empty()) return nullptr;
  const auto isFree = [this](const HxObject* object) {
    return std::none_of(waiting_.begin(), waiting_.end(),
                        [&](const HxObject* other) { return other != object && other->isUpstreamOf(*object); });
  };
  auto next = std::find_if(waiting_.begin(), waiting_.end(), isFree);
  if (next == waiting_.end()) next = waiting_.begin();
  HxObject* object = *next;
  waiting_.erase(next);
  return object;
}

void HxEvaluation::evaluate(HxObject& object) {
  // What is done here need not be done again by a run around this one.
  for (HxEvaluation* run = outer_; run; run = run->outer_) std::erase(run->waiting_, &object);
  current_ = &object;
  object.settleMarks();
  addOnce(evaluated_, &object);
  object.update();
  if (current_) object.compute();
  if (current_) object.evaluated();
  // With a second pass ahead, what was marked meanwhile is kept for it.
  if (current_ && !contains(wishes_, &object)) object.settleMarks();
}

void HxEvaluation::propagate(HxObject& object, bool downstream) {
  const unsigned int flags = object.getNewFlags() & ~kConnectionChanged;
  const bool isRoot = contains(roots_, &object);
  if (!flags && !isRoot) return;
  const auto connections = object.downstreamConnections();
  for (HxConnection* connection : connections) {
    connection->touch(flags);
    if (downstream) schedule(*connection->owner());
  }
}

void HxEvaluation::schedule(HxObject& object) {
  HxEvaluation* run = runOf(object);
  if (run && (run != this || current_ == &object)) {
    run->wish(object);
  } else {
    addOnce(waiting_, &object);
  }
}

void HxEvaluation::wish(HxObject& object) {
  addOnce(wishes_, &object);
}

void HxEvaluation::clearMarks() {
  for (HxObject* object : std::exchange(evaluated_, {})) object->clearMarks();
}

}  // namespace quarn::detail
