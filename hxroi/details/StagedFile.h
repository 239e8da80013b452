#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/tiles/WorkCallback.h"

namespace hxroi::details {

/// A new file that is written beside its target, under hxvoxora::asideName(target, mark), and put in the target's place
/// when it is complete. Unless that happens it is removed. Failures are McException; the target is then as before.
class StagedFile {
public:
  StagedFile(hxvoxora::FileSystem& files, const std::string& target, std::uint64_t mark,
             hxvoxora::FileSystem::Access access);
  ~StagedFile();
  StagedFile(const StagedFile&) = delete;
  StagedFile& operator=(const StagedFile&) = delete;

  /// Locks the file, so that other saves leave the new files of this one alone: for the data file of a set, to be held
  /// until the set is in place. Null where files cannot be locked; nobody removes any there either.
  std::unique_ptr<hxvoxora::FileLock> lock() const;

  void write(std::string_view text);

  /// Appends the whole content of an open file. False when `goOn`, asked before each piece, gave up.
  bool copyFrom(const hxvoxora::InputFile& source, const hxvoxora::WorkCallback& goOn = nullptr);

  /// Everything is on stable storage afterwards.
  void complete();

  /// Renames the completed file over the target.
  void moveIntoPlace();

  /// Says that somebody else renamed it.
  void setInPlace() { isInPlace_ = true; }

private:
  hxvoxora::FileSystem& files_;
  std::string target_;
  std::string path_;
  std::unique_ptr<hxvoxora::OutputFile> file_;
  bool isInPlace_ = false;
};

}  // namespace hxroi::details
