#pragma once

#include <vector>

#include "quarn/base/McHandle.h"

class HxObject;

namespace quarn::detail {

/// One run through the network, begun by a fire().
///
/// The run holds a list of objects that wait for their evaluation. It takes one that no other waiting object leads to,
/// evaluates it, marks the connections that lead to it, and lets their owners wait; so an object that can be reached on
/// several ways is evaluated once, after all that it depends on. When none is left the marks are cleared.
///
/// Runs nest: an object that update() or compute() fires is evaluated at once, in a run of its own. An object that
/// takes part in a run already is not: the run notes the wish and makes a second pass with it.
class HxEvaluation {
public:
  /// See HxObject::fire().
  static void fire(HxObject& object, bool downstream);
  /// Has `object` evaluated after `module` in the run that evaluates that one; at once when there is none.
  static void fireAfter(const HxObject& module, HxObject& object);
  /// True when a run evaluates `object` or has done so and still goes on.
  static bool involves(const HxObject& object) { return runOf(object) != nullptr; }
  /// Takes a dying object out of all runs.
  static void forget(const HxObject& object);

  HxEvaluation(const HxEvaluation&) = delete;
  HxEvaluation& operator=(const HxEvaluation&) = delete;

private:
  using Objects = std::vector<HxObject*>;

  HxEvaluation();
  ~HxEvaluation();

  static HxEvaluation* runOf(const HxObject& object);
  bool hasStarted(const HxObject& object) const;

  void pass(Objects roots, bool downstream);
  HxObject* takeNext();
  void evaluate(HxObject& object);
  void propagate(HxObject& object, bool downstream);
  void schedule(HxObject& object);
  void wish(HxObject& object);
  void clearMarks();

  /// The innermost run of this thread; label fields live and die on worker threads, too.
  static thread_local HxEvaluation* innermost_;

  HxEvaluation* outer_;
  HxObject* current_ = nullptr;
  Objects roots_;
  Objects waiting_;
  Objects evaluated_;
  Objects wishes_;
};

}  // namespace quarn::detail
