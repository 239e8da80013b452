#pragma once

#include <string>
#include <utility>

/// The path of a file: narrow text in the encoding of the system, "/" between components.
class McFilename {
public:
  McFilename() = default;
  McFilename(const char* path) : path_(path ? path : "") {}
  McFilename(std::string path) : path_(std::move(path)) {}

  const char* getString() const { return path_.c_str(); }
  const std::string& text() const { return path_; }
  bool isEmpty() const { return path_.empty(); }
  friend bool operator==(const McFilename&, const McFilename&) = default;

private:
  std::string path_;
};
