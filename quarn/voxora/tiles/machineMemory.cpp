#include "quarn/voxora/tiles/detail/machineMemory.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/FileSystem.h"

namespace hxvoxora::detail {

namespace {

constexpr std::uint64_t unlimited = std::numeric_limits<std::uint64_t>::max();

/// The beginning of a file of the system; empty when it cannot be read.
std::string textOf(const std::string& path) {
  try {
    std::string text(4096, '\0');
    const auto file = FileSystem::posix().openForReading(path, FileSystem::Links::follow);
    text.resize(file->readAt(0, std::as_writable_bytes(std::span(text))));
    return text;
  } catch (const McException&) {
    return {};
  }
}

/// The number that a limit begins with; no limit for "max" and anything else.
std::uint64_t limitIn(const std::string& path) {
  const std::string text = textOf(path);
  std::uint64_t limit = unlimited;
  std::from_chars(text.data(), text.data() + text.size(), limit);
  return limit;
}

/// The path of the process in the hierarchy of control groups: the line "0::<path>".
std::string controlGroup() {
  const std::string text = textOf("/proc/self/cgroup");
  const std::size_t begin = text.rfind("0::", text.starts_with("0::") ? 0 : std::string::npos);
  return begin == std::string::npos ? std::string() : text.substr(begin + 3, text.find('\n', begin) - begin - 3);
}

std::uint64_t controlGroupLimit() {
  std::uint64_t limit = limitIn("/sys/fs/cgroup/memory/memory.limit_in_bytes");
  for (std::string group = controlGroup();; group.resize(group.rfind('/'))) {
    limit = std::min(limit, limitIn("/sys/fs/cgroup" + group + "/memory.max"));
    if (group.find('/') == std::string::npos) return limit;
  }
}

std::uint64_t addressSpaceLimit() {
  rlimit limit{};
  return ::getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY ? limit.rlim_cur : unlimited;
}

std::uint64_t physicalMemory() {
  const long pages = ::sysconf(_SC_PHYS_PAGES), pageBytes = ::sysconf(_SC_PAGESIZE);
  return pages > 0 && pageBytes > 0 ? static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageBytes)
                                    : std::uint64_t{4} << 30;
}

}  // namespace

std::uint64_t machineMemory() {
  return std::min({physicalMemory(), controlGroupLimit(), addressSpaceLimit()});
}

}  // namespace hxvoxora::detail
