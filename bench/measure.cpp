#include "bench/measure.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace fs = std::filesystem;

namespace bench {

void add(const std::string& operation, const std::string& data, int runs, std::function<void(benchmark::State&)> body) {
  benchmark::RegisterBenchmark((operation + "/" + data).c_str(), std::move(body))
      ->Iterations(runs)
      ->UseManualTime()
      ->Unit(benchmark::kMicrosecond);
}

ScratchFolder::ScratchFolder() {
  std::string pattern = (fs::temp_directory_path() / "quarn-bench-XXXXXX").string();
  if (!::mkdtemp(pattern.data())) throw std::runtime_error("cannot make the folder " + pattern);
  path_ = pattern;
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::vector<std::size_t> fileSizesBelow(const std::string& folder) {
  std::vector<fs::path> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder))
    if (entry.is_regular_file()) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  std::vector<std::size_t> sizes;
  for (const fs::path& file : files) sizes.push_back(fs::file_size(file));
  return sizes;
}

}  // namespace bench
