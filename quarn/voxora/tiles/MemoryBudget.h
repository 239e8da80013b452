#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "quarn/voxora/export.h"

namespace hxvoxora {

/// The memory budget of the process, in bytes: what the tiles of all volumes and the buffers of all boxes may take
/// together. Tiles that can be had from a file again leave memory first, those used longest ago before others; edited
/// tiles are written into spill files when nothing else is left. What somebody is using at the moment stays in memory
/// even when it exceeds the budget. All functions are safe from any thread.

QUARN_VOXORA_API std::size_t memoryBudget();

/// Counts at once: what is too much leaves memory. 0 stands for defaultMemoryBudget().
QUARN_VOXORA_API void setMemoryBudget(std::size_t bytes);

/// A quarter of the memory that the process may have: of the machine, of its control group, or of its address space,
/// whichever is least; in whole MiB.
QUARN_VOXORA_API std::size_t defaultMemoryBudget();

/// Where edited tiles go for which there is no room: files "<prefix>.spill<n>" that are for the owner of the process
/// only and lose their names as soon as they are open, so that nothing is left behind however the process ends. They
/// serve all volumes of the process, since volumes share tiles. They are made on FileSystem::current(). Files in use stay
/// when another prefix is set. With an empty prefix, as at the start, edited tiles have no place but memory, and edits
/// that do not fit into the budget are refused.
QUARN_VOXORA_API void setSpillPrefix(const std::string& prefix);

/// What became of the budget since the start of the process, and what is where at this moment.
struct CacheStatistics {
  std::uint64_t hits = 0;          ///< uses of tiles that were in memory
  std::uint64_t loads = 0;         ///< uses of tiles that had to be fetched
  std::uint64_t evictions = 0;     ///< tiles that left memory
  std::uint64_t spills = 0;        ///< edited tiles written into spill files
  std::size_t bytesInMemory = 0;   ///< of tiles, now
  std::size_t bytesInBuffers = 0;  ///< of boxes, now
  std::size_t bytesSpilled = 0;    ///< of tiles in spill files that are still needed, now
};

QUARN_VOXORA_API CacheStatistics cacheStatistics();

}  // namespace hxvoxora
