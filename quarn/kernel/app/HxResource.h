#pragma once

#include <QString>

#include "quarn/kernel/export.h"

/// The files that come with the program: pictures and the like, in the folder "share" below one root.
class QUARN_KERNEL_API HxResource {
public:
  /// The root, without "/" at its end: the folder above that of the program in a build tree, else the folder lib/quarn
  /// beside it.
  static QString getRootDir();
};
