#pragma once

#include "quarn/base/export.h"

/// Switches of the process environment. They are read anew at every call.
class QUARN_BASE_API McEnvironment {
public:
  /// The variable `name` as a truth value: 1, true, yes and on mean true; 0, false, no and off mean false, in upper or
  /// lower case. A variable that is set to nothing or to any other text gives `valueWhenSetWithoutText`; one that is
  /// not set gives `valueWhenUnset`.
  ///
  /// Must not run while another thread changes the environment.
  static bool getBool(const char* name, bool valueWhenSetWithoutText = true, bool valueWhenUnset = false);
};
