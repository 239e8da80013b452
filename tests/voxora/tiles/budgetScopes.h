#pragma once

#include <cstddef>
#include <string>

#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/tiles/MemoryBudget.h"

/// A memory budget as long as it lives; the default one afterwards.
class BudgetScope {
public:
  explicit BudgetScope(std::size_t bytes) { hxvoxora::setMemoryBudget(bytes); }
  ~BudgetScope() { hxvoxora::setMemoryBudget(0); }
  BudgetScope(const BudgetScope&) = delete;
  BudgetScope& operator=(const BudgetScope&) = delete;
};

/// A place for spill files as long as it lives, none afterwards; all other new files go to its file system, too.
class SpillScope {
public:
  explicit SpillScope(hxvoxora::FileSystem& files, const std::string& prefix = "spilled") : current_(files) {
    hxvoxora::setSpillPrefix(prefix);
  }
  ~SpillScope() { hxvoxora::setSpillPrefix(std::string()); }
  SpillScope(const SpillScope&) = delete;
  SpillScope& operator=(const SpillScope&) = delete;

private:
  hxvoxora::FileSystemOverride current_;
};
