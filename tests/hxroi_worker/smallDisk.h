#pragma once

#include <string>

/// Saves a set over another on a disk in memory, of 64 sizes from just what the other takes to a tenth more than both
/// need; the process has to be one that may mount (`unshare -rm`). The disk is mounted in the folder of `file`.
/// Prints "refused NUMBER", the number of sizes that were too small; throws when a set was lost.
/// False, with the reason on standard error, when nothing can be mounted.
bool saveOnSmallDisks(const std::string& file);
