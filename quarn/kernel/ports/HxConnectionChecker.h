#pragma once

#include <QString>

#include "quarn/kernel/export.h"

class HxObject;

/// A rule for what may be connected.
class QUARN_KERNEL_API HxConnectionChecker {
public:
  virtual ~HxConnectionChecker();

  /// False refuses `source`, which is not null.
  virtual bool operator()(const HxObject* source) = 0;

  /// Why `source` is refused, for the user; empty when it is not, or when there is nothing to say. Here: empty.
  virtual QString reason(const HxObject* source) const;
};
