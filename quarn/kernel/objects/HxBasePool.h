#pragma once

#include "quarn/kernel/export.h"

class HxObject;

/// What everybody may ask the pool of objects.
class QUARN_KERNEL_API HxBasePool {
public:
  /// The pool of the process.
  static HxBasePool* getTheBasePool();

  /// The object of that name (UTF-8), or null. Null and empty names give null.
  virtual HxObject* find(const char* name) const = 0;

protected:
  HxBasePool() = default;
  virtual ~HxBasePool() = default;
};
