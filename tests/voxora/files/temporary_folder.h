#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <stdexcept>
#include <stdlib.h>
#include <string>

/// A new, empty folder on the disk that is gone, with everything in it, when the test is over.
class TemporaryFolder {
public:
  TemporaryFolder() : path_(testing::TempDir() + "quarn-XXXXXX") {
    if (!::mkdtemp(path_.data())) throw std::runtime_error("cannot make " + path_);
    path_ = std::filesystem::canonical(path_).string();
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& path() const { return path_; }

private:
  std::string path_;
};
