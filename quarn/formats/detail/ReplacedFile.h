#pragma once

#include <QString>
#include <cstddef>
#include <memory>
#include <span>
#include <string>

#include "quarn/voxora/files/FileSystem.h"

namespace quarn::formats::detail {

/// A file that is written beside the one whose place it takes once it is complete: until commit() gets to its end, the
/// former file is there, whole. What is not committed is removed with the object.
class ReplacedFile {
public:
  /// Makes the new file, "<name>~<16 hexadecimal digits>". Such files that killed saves to the same name left are
  /// removed.
  ///
  /// @throws McException, naming `file`, when it is a link, a folder, a device or write protected, when its folder
  ///   cannot be written, or when its name has more than 230 bytes.
  explicit ReplacedFile(const QString& file);
  ~ReplacedFile();
  ReplacedFile(const ReplacedFile&) = delete;
  ReplacedFile& operator=(const ReplacedFile&) = delete;

  /// Writes behind what is there. McException when it fails.
  void append(std::span<const std::byte> bytes);

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

}  // namespace quarn::formats::detail
