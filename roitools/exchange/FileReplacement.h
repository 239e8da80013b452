#pragma once

#include <QString>
#include <memory>
#include <string>

#include "quarn/voxora/files/FileSystem.h"
#include "roitools/export.h"

namespace roitools {

/// A file that is written beside its place, under "NAME~" and 16 hexadecimal digits, until commit() gives it its name.
/// Unless commit() got to its end everything is as it was, and the new file is removed. What killed processes left of
/// others of this name is removed at the start. Failures are McException naming the file. One thread.
class ROITOOLS_API FileReplacement {
public:
  /// Checks that the file can be put at `path` and makes the new one.
  explicit FileReplacement(const QString& path);
  ~FileReplacement();
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;

  /// The new file, to be written from its beginning to its end.
  hxvoxora::OutputFile& file() { return *file_; }

  /// Brings the new file to stable storage and gives it its name.
  void commit();

private:
  void requireReplaceable() const;
  void removeAbandoned();
  [[noreturn]] void refuse(const std::string& what) const;

  hxvoxora::FileSystem& files_;
  const std::string path_;
  const std::string folder_;
  std::string newPath_;
  std::unique_ptr<hxvoxora::OutputFile> file_;
  std::unique_ptr<hxvoxora::FileLock> lock_;
};

}  // namespace roitools
