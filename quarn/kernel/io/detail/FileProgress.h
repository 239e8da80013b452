#pragma once

#include <cstdint>
#include <string>

namespace quarn::detail {

/// Shows in the progress display of the application that a file is worked on, while it lives. User-interface thread
/// only.
class FileProgress {
public:
  /// `verb` is what is done, as "Reading"; of `path` the last part is shown.
  FileProgress(const char* verb, const std::string& path);
  ~FileProgress();
  FileProgress(const FileProgress&) = delete;
  FileProgress& operator=(const FileProgress&) = delete;

  /// Shows how much is done; false once the user wants to stop. May process events.
  bool goOn(std::uint64_t done, std::uint64_t all) const;
};

}  // namespace quarn::detail
