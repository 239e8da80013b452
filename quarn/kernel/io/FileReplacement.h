#pragma once

#include <QString>
#include <memory>
#include <string>

#include "quarn/kernel/export.h"
#include "quarn/voxora/files/FileSystem.h"

namespace quarn {

/// A file that is written beside the one whose place it takes once it is complete: until commit() gets to its end, the
/// former file is there, whole. What is not committed is removed with the object. One thread.
class QUARN_KERNEL_API FileReplacement {
public:
  /// Makes the new file, "<name>~<16 hexadecimal digits>". Such files that killed saves to the same name left are
  /// removed.
  ///
  /// @throws McException, naming `file`, when it is a link, a folder, a device or write protected, when its folder
  ///   cannot be written, or when its name has more than 230 bytes.
  explicit FileReplacement(const QString& file);
  ~FileReplacement();
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;

  /// The new file, to be written from its beginning to its end. McException of it names the new file.
  hxvoxora::OutputFile& file() { return *output_; }

  /// Brings the new file to stable storage and gives it its name. McException when it fails.
  void commit();

private:
  void requireReplaceable() const;
  void removeAbandoned();
  [[noreturn]] void refuse(const QString& what) const;

  const QString file_;
  hxvoxora::FileSystem& files_;
  const std::string folder_;
  const std::string name_;  ///< without its folder
  const std::string path_;
  const std::string newPath_;
  std::unique_ptr<hxvoxora::OutputFile> output_;
  std::unique_ptr<hxvoxora::FileLock> lock_;  ///< tells other saves that the new file is in use
  bool isMade_ = false;
};

}  // namespace quarn
