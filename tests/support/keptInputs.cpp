#include "tests/support/keptInputs.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <vector>

namespace {

std::vector<std::byte> contentOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  const auto bytes = std::as_bytes(std::span(text));
  return {bytes.begin(), bytes.end()};
}

/// The files of a folder, sorted by name; none when there is no such folder.
std::vector<std::filesystem::path> filesIn(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> paths;
  if (!std::filesystem::exists(folder)) return paths;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) paths.push_back(entry.path());
  std::sort(paths.begin(), paths.end());
  return paths;
}

}  // namespace

void replayKeptInputs(const std::string& name, bool (*target)(std::span<const std::byte>)) {
  int read = 0, refused = 0;
  const std::filesystem::path folder = QUARN_SOURCE_DIR "/fuzz";
  auto paths = filesIn(folder / "corpus" / name);
  const auto regressions = filesIn(folder / "regressions" / name);
  paths.insert(paths.end(), regressions.begin(), regressions.end());
  for (const auto& path : paths) {
    SCOPED_TRACE(path.string());
    bool wasRead = false;
    EXPECT_NO_THROW(wasRead = target(contentOf(path)));
    ++(wasRead ? read : refused);
  }
  EXPECT_GE(read, 5);
  EXPECT_GE(refused, 5);
}
