#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// What this machine can do at best, measured beside the operation that is held against it.
///
/// With all workers a limit of memory is the time of so many bytes at the bandwidth of main memory: the best of several
/// passes over plain arrays much larger than the caches. Work on data that the caches hold may beat it. With one worker
/// it is the best pass over arrays of just the given size, wherever they stay.
namespace bench {

/// The least time that an operation can take.
struct Limit {
  double seconds = 0;
  std::string text;  ///< what takes that time: "read 16.0 MiB"

  /// Both after each other.
  friend Limit operator+(const Limit& a, const Limit& b);
};

/// Who works.
enum class Workers { One, All };

/// Reads an array.
Limit read(std::size_t bytes, Workers workers = Workers::All);

/// Sets an array.
Limit fill(std::size_t bytes, Workers workers = Workers::All);

/// Copies an array of so many bytes to another.
Limit copy(std::size_t bytes, Workers workers = Workers::All);

/// Writes a Boolean function of two arrays to a third, each of so many bytes.
Limit combine(std::size_t bytes, Workers workers = Workers::All);

/// Makes one plain file after the other of the given sizes in a folder, each synced. The bytes do not compress.
Limit writeFiles(const std::string& folder, const std::vector<std::size_t>& sizes);

/// Opens and reads such files, which the system holds in memory.
Limit readFiles(const std::string& folder, const std::vector<std::size_t>& sizes);

/// A time that was promised.
Limit goal(double seconds);

}  // namespace bench
