#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "hxroi/export.h"

namespace hxroi::details {

/// The names of what stands in the folder of the temporary files. Times are UTC texts as in 20260115T093012.004211; as
/// all have one length, their order as texts is that in time.
namespace TemporaryNames {

/// Counters of processes that live under one process id are this far apart (see ownerMark()).
inline constexpr int kCountersPerProcess = 10'000'000;

/// The present time to the microsecond.
HXROI_API std::string timeNow();

/// The stem of the files of a mask: time, "-", counter, "-", process id.
HXROI_API std::string stem(const std::string& time, int counter, long process);

/// What a file name starts with.
struct Stem {
  std::string text;
  std::string time;
  long counter = 0;
  long process = 0;
  bool isSpill = false;  ///< a file for tiles that were moved out of memory; it means nothing to anybody else
};

/// The stem that a file name starts with; nothing for a file that is not one of a mask.
HXROI_API std::optional<Stem> stemOf(std::string_view fileName);

/// The file by which a process shows that it lives. `number` tells processes with the same id apart, which containers
/// may give out.
HXROI_API std::string ownerMark(long process, int number);

/// The process whose mark a file name is; nothing for other files.
HXROI_API std::optional<long> processOfMark(std::string_view fileName);

/// The file that keeps two processes from recovering at once.
inline constexpr const char* kRecoveryMark = "recovery.lock";

}  // namespace TemporaryNames

}  // namespace hxroi::details
