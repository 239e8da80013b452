#pragma once

#include "quarn/kernel/app/HxPreferences.h"
#include "quarn/kernel/export.h"

/// Holds what the user can set.
class QUARN_KERNEL_API HxSettingsMgr {
public:
  HxPreferences* getPreferences() { return &preferences_; }

private:
  HxPreferences preferences_;
};
