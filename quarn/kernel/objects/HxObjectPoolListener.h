#pragma once

#include <QString>

#include "quarn/kernel/export.h"

class HxObject;

/// Hears of the pool's changes. Its destructor ends listening; a listener may leave at any time, also while it is being
/// told something.
class QUARN_KERNEL_API HxObjectPoolListener {
public:
  virtual ~HxObjectPoolListener();

  /// `object` has its name and stands in the pool.
  virtual void objectAdded(HxObject*) {}
  /// `object` still has its name and its connections.
  virtual void objectAboutToBeRemoved(HxObject*) {}
  virtual void objectRenamed(HxObject*, const QString& /*oldName*/) {}
  virtual void objectSelected(HxObject*) {}
  /// `object` was evaluated; the run through the network may go on.
  virtual void objectEvaluated(HxObject*) {}
};
