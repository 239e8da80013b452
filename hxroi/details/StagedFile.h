#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "quarn/voxora/files/FileSystem.h"

namespace hxroi::details {

/// A new file that is written beside its target and put in the target's place when it is complete. Unless that happens
/// it is removed. Failures are McException; the target is then as before.
class StagedFile {
public:
  StagedFile(hxvoxora::FileSystem& files, const std::string& target, hxvoxora::FileSystem::Access access);
  ~StagedFile();
  StagedFile(const StagedFile&) = delete;
  StagedFile& operator=(const StagedFile&) = delete;

  void write(std::string_view text);

  /// Appends the whole content of an open file.
  void copyFrom(const hxvoxora::InputFile& source);

  /// Everything is on stable storage afterwards.
  void complete();

  /// Renames the completed file over the target.
  void moveIntoPlace();

  /// Removes the target again after a later step of the same change failed; does nothing before moveIntoPlace().
  void takeBack() noexcept;

private:
  void remove(const std::string& path) noexcept;

  hxvoxora::FileSystem& files_;
  std::string target_;
  std::string path_;
  std::unique_ptr<hxvoxora::OutputFile> file_;
  bool isInPlace_ = false;
};

}  // namespace hxroi::details
