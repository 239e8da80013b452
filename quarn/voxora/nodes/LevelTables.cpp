#include "quarn/voxora/nodes/detail/LevelTables.h"

#include <utility>

#include "quarn/voxora/tiles/detail/coarserTable.h"

namespace hxvoxora::detail {

LevelTables::Table LevelTables::at(int level, const Table& content) {
  if (level == 0) return content;
  const std::lock_guard lock(mutex_);
  reach(level, content);
  return tables_[static_cast<std::size_t>(level)];
}

std::vector<LevelTables::Table> LevelTables::all(const Table& content) {
  const std::lock_guard lock(mutex_);
  reach(levelCount(content->grid()) - 1, content);
  return tables_;
}

void LevelTables::adopt(std::vector<Table> tables) {
  const std::lock_guard lock(mutex_);
  tables_ = std::move(tables);
  former_.clear();
  isOvertaken_ = false;
}

void LevelTables::contentChanged() {
  const std::lock_guard lock(mutex_);
  if (isOvertaken_) {
    tables_.clear();
    former_.clear();
  }
  isOvertaken_ = !tables_.empty();
}

void LevelTables::reach(int level, const Table& content) {
  isOvertaken_ = false;
  if (tables_.empty() || !(tables_.front() == content)) {
    // A content that was overtaken before its levels were wanted leaves the older ones in place.
    if (tables_.size() > former_.size()) former_ = std::move(tables_);
    tables_.assign(1, content);
  }
  for (std::size_t i = tables_.size(); i <= static_cast<std::size_t>(level); ++i) {
    if (i < former_.size()) {
      const TableAndLevel before{*former_[i - 1], *former_[i]};
      tables_.push_back(coarserTable(*tables_[i - 1], &before));
    } else {
      tables_.push_back(coarserTable(*tables_[i - 1], nullptr));
    }
  }
  if (tables_.size() >= former_.size()) former_.clear();
}

}  // namespace hxvoxora::detail
