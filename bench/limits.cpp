#include "bench/limits.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <numeric>
#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>
#include <random>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

#include "bench/measure.h"

namespace bench {

namespace {

constexpr int passCount = 5;
constexpr std::size_t beyondCaches = std::size_t{1} << 28;
constexpr std::size_t largePage = std::size_t{1} << 21;
constexpr std::size_t blockBytes = std::size_t{1} << 16;

struct FreeMemory {
  void operator()(std::uint8_t* memory) const { std::free(memory); }
};

/// Memory in large pages that is touched once and kept for the next limit.
class Array {
public:
  std::uint8_t* get(std::size_t bytes) {
    if (bytes > size_) grow((bytes + largePage - 1) / largePage * largePage);
    return memory_.get();
  }

private:
  void grow(std::size_t bytes) {
    memory_.reset();
    memory_.reset(static_cast<std::uint8_t*>(std::aligned_alloc(largePage, bytes)));
    if (!memory_) throw std::bad_alloc();
    ::madvise(memory_.get(), bytes, MADV_HUGEPAGE);
    std::memset(memory_.get(), 0x5a, bytes);
    size_ = bytes;
  }

  std::unique_ptr<std::uint8_t, FreeMemory> memory_;
  std::size_t size_ = 0;
};

/// The seconds of the best pass.
template <class Pass>
double best(Pass pass) {
  double seconds = std::numeric_limits<double>::max();
  for (int i = 0; i < passCount; ++i) seconds = std::min(seconds, secondsOf(pass));
  return seconds;
}

/// Calls work(first, count) for blocks of an array.
template <class Work>
void forBlocks(std::size_t bytes, Workers workers, Work work) {
  if (workers == Workers::One) return work(std::size_t{0}, bytes);
  tbb::parallel_for(tbb::blocked_range<std::size_t>(0, (bytes + blockBytes - 1) / blockBytes), [&](const auto& blocks) {
    const std::size_t first = blocks.begin() * blockBytes;
    work(first, std::min(blocks.end() * blockBytes, bytes) - first);
  });
}

std::string sized(const char* what, std::size_t bytes) {
  char text[64];
  const double value = static_cast<double>(bytes);
  if (bytes < 10240) {
    std::snprintf(text, sizeof text, "%s %.0f B", what, value);
  } else if (bytes < (std::size_t{1} << 20)) {
    std::snprintf(text, sizeof text, "%s %.0f KiB", what, value / 1024);
  } else {
    std::snprintf(text, sizeof text, "%s %.1f MiB", what, value / 1048576);
  }
  return text;
}

/// The words of an aligned array joined by exclusive or, which takes no time beside the reading.
std::uint64_t digest(const std::uint8_t* bytes, std::size_t count) {
  const auto* words = reinterpret_cast<const std::uint64_t*>(bytes);
  std::uint64_t joined[8] = {};
  for (std::size_t i = 0; i + 8 <= count / 8; i += 8)
    for (std::size_t k = 0; k < 8; ++k) joined[k] ^= words[i + k];
  return std::accumulate(std::begin(joined), std::end(joined), std::uint64_t{0}, std::bit_xor<>());
}

/// target = a and b.
void intersect(std::uint8_t* __restrict target, const std::uint8_t* __restrict a, const std::uint8_t* __restrict b,
               std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) target[i] = a[i] & b[i];
}

Array& array(int index) {
  static Array arrays[3];
  return arrays[index];
}

struct Arrays {
  std::uint8_t* target;
  const std::uint8_t* a;
  const std::uint8_t* b;
};

/// The seconds of the best pass of work(arrays, first, count) over arrays of so many bytes.
template <class Work>
double passSeconds(std::size_t bytes, Workers workers, Work work) {
  const Arrays arrays{array(0).get(bytes), array(1).get(bytes), array(2).get(bytes)};
  return best([&] {
    forBlocks(bytes, workers, [&](std::size_t first, std::size_t count) {
      work(arrays, first, count);
      benchmark::ClobberMemory();
    });
  });
}

/// The least time of work(arrays, first, count) on so many bytes. Main memory is measured once.
template <class Work>
Limit memoryLimit(const char* what, std::size_t bytes, Workers workers, Work work) {
  if (bytes == 0) return {};
  if (workers == Workers::One) return {passSeconds(bytes, workers, work), sized(what, bytes)};
  static std::map<std::string, double> measured;
  const auto known = measured.find(what);
  const double seconds = known != measured.end()
                             ? known->second
                             : measured.emplace(what, passSeconds(beyondCaches, workers, work)).first->second;
  return {seconds * static_cast<double>(bytes) / static_cast<double>(beyondCaches), sized(what, bytes)};
}

class File {
public:
  File(const std::string& path, int flags) : descriptor_(::open(path.c_str(), flags | O_CLOEXEC, 0600)) {
    if (descriptor_ < 0) throw std::runtime_error("cannot open " + path);
  }
  ~File() { ::close(descriptor_); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  void writeAll(const std::uint8_t* bytes, std::size_t count) { all(bytes, count, ::write); }
  void readAll(std::uint8_t* bytes, std::size_t count) { all(bytes, count, ::read); }
  void sync() {
    if (::fsync(descriptor_) != 0) throw std::runtime_error("cannot sync a file");
  }

private:
  template <class Byte, class Call>
  void all(Byte* bytes, std::size_t count, Call call) {
    while (count > 0) {
      const ssize_t done = call(descriptor_, bytes, count);
      if (done <= 0) throw std::runtime_error("cannot read or write a file");
      bytes += done;
      count -= static_cast<std::size_t>(done);
    }
  }

  int descriptor_;
};

std::string filePath(const std::string& folder, std::size_t index) {
  return folder + "/limit-" + std::to_string(index);
}

/// Bytes that no codec of a file system makes smaller.
const std::uint8_t* incompressible(std::size_t bytes) {
  static std::vector<std::uint64_t> words;
  static std::mt19937_64 random(1);
  while (words.size() * sizeof(std::uint64_t) < bytes) words.push_back(random());
  return reinterpret_cast<const std::uint8_t*>(words.data());
}

std::string describe(const char* what, const std::vector<std::size_t>& sizes) {
  const std::string text = sized(what, std::accumulate(sizes.begin(), sizes.end(), std::size_t{0}));
  return sizes.size() == 1 ? text : text + " in " + std::to_string(sizes.size()) + " files";
}

void makeFiles(const std::string& folder, const std::vector<std::size_t>& sizes, bool synced) {
  const std::uint8_t* bytes = incompressible(*std::max_element(sizes.begin(), sizes.end()));
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    File file(filePath(folder, i), O_WRONLY | O_CREAT | O_EXCL);
    file.writeAll(bytes, sizes[i]);
    if (synced) file.sync();
  }
}

void removeFiles(const std::string& folder, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) ::unlink(filePath(folder, i).c_str());
}

}  // namespace

Limit operator+(const Limit& a, const Limit& b) {
  if (a.seconds == 0) return b;
  if (b.seconds == 0) return a;
  return {a.seconds + b.seconds, a.text + ", " + b.text};
}

Limit read(std::size_t bytes, Workers workers) {
  return memoryLimit("read", bytes, workers, [](const Arrays& arrays, std::size_t first, std::size_t count) {
    benchmark::DoNotOptimize(digest(arrays.target + first, count));
  });
}

Limit fill(std::size_t bytes, Workers workers) {
  return memoryLimit("fill", bytes, workers, [](const Arrays& arrays, std::size_t first, std::size_t count) {
    std::memset(arrays.target + first, 0x5a, count);
  });
}

Limit copy(std::size_t bytes, Workers workers) {
  return memoryLimit("copy", bytes, workers, [](const Arrays& arrays, std::size_t first, std::size_t count) {
    std::memcpy(arrays.target + first, arrays.a + first, count);
  });
}

Limit combine(std::size_t bytes, Workers workers) {
  return memoryLimit("combine 2 x", bytes, workers, [](const Arrays& arrays, std::size_t first, std::size_t count) {
    intersect(arrays.target + first, arrays.a + first, arrays.b + first, count);
  });
}

Limit writeFiles(const std::string& folder, const std::vector<std::size_t>& sizes) {
  if (sizes.empty()) return {};
  double seconds = std::numeric_limits<double>::max();
  for (int i = 0; i < 3; ++i) {
    seconds = std::min(seconds, secondsOf([&] { makeFiles(folder, sizes, true); }));
    removeFiles(folder, sizes.size());
  }
  return {seconds, describe("write and sync", sizes)};
}

Limit readFiles(const std::string& folder, const std::vector<std::size_t>& sizes) {
  if (sizes.empty()) return {};
  std::uint8_t* target = array(0).get(*std::max_element(sizes.begin(), sizes.end()));
  makeFiles(folder, sizes, false);
  const double seconds = best([&] {
    for (std::size_t i = 0; i < sizes.size(); ++i) File(filePath(folder, i), O_RDONLY).readAll(target, sizes[i]);
  });
  removeFiles(folder, sizes.size());
  return {seconds, describe("read files,", sizes)};
}

Limit goal(double seconds) {
  return {seconds, "goal"};
}

}  // namespace bench
