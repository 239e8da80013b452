#pragma once

#include <mutex>
#include <vector>

#include "quarn/voxora/tiles/Ref.h"
#include "quarn/voxora/tiles/detail/TileTable.h"

namespace hxvoxora::detail {

/// The resolution levels of a volume: those that its file holds, or those worked out from its content when they are
/// first asked for. After an edit only the tiles above the changed ones are made anew. Safe from any thread.
class LevelTables {
public:
  using Table = Ref<const TileTable>;

  /// The table of a level of the volume with this content, 0 <= level < levelCount(content's grid).
  Table at(int level, const Table& content);

  /// All levels from level 0 up to the last one.
  std::vector<Table> all(const Table& content);

  /// These are the levels from now on, level 0 first; none at all when nothing is known.
  void adopt(std::vector<Table> tables);

  /// To be told of each new content, so that the tiles of an old one are not kept for a level that nobody asks for.
  void contentChanged();

private:
  void reach(int level, const Table& content);

  std::mutex mutex_;
  std::vector<Table> tables_;  // level 0 first
  std::vector<Table> former_;  // those of an earlier content, whose tiles may be taken over
  bool isOvertaken_ = false;   // the content changed since a level was asked for
};

}  // namespace hxvoxora::detail
