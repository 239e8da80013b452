#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "quarn/kernel/io/detail/FieldFileNames.h"
#include "quarn/voxora/files/FileSystem.h"

namespace quarn::detail {

/// The files of a field while they are saved: new ones beside those in place, until commit() gives them their names.
/// The steps stand in docs/format/field.md, "Saving". Failures are McException; unless commit() got to its end
/// everything is then as it was, and the new files are removed.
class FieldSave {
public:
  /// Checks that the file can be put at `path`, that of the parameter file, and removes what killed saves left there.
  FieldSave(hxvoxora::FileSystem& files, const std::string& path);
  ~FieldSave();
  FieldSave(const FieldSave&) = delete;
  FieldSave& operator=(const FieldSave&) = delete;

  std::uint64_t generation() const { return generation_; }
  /// Name, without folder, of the new data file.
  std::string dataFile() const { return names_.dataFile(generation_); }
  /// Name of the data file in place that goes at the end; empty for none.
  std::string replaces() const { return former_.empty() ? std::string() : former_.front(); }

  /// Makes the new data file.
  hxvoxora::OutputFile& createData();

  /// Puts the data file, complete by now, and a parameter file of this text in place.
  void commit(const std::string& text);

private:
  void requireReplaceable();
  void noteFormer();
  void removeAbandoned();
  void removeAbandoned(std::uint64_t generation);
  std::unique_ptr<hxvoxora::FileLock> lockNewData() const;
  void writeParameters(const std::string& text);
  void removeFormer() noexcept;
  bool isMentioned(const std::string& data, const std::string& except);
  bool holdsGeneration(const std::string& name, std::uint64_t generation);
  void removeMade() noexcept;

  std::string pathOf(const std::string& name) const { return folderPrefix_ + name; }
  [[noreturn]] void refuse(const std::string& what) const;

  hxvoxora::FileSystem& files_;
  const std::string path_;
  const std::string folder_;
  const std::string folderPrefix_;
  const FieldFileNames names_;
  const std::uint64_t generation_;
  hxvoxora::FileSystem::Access access_;
  std::vector<std::string> former_;  ///< names of data files that go, that in place first
  std::vector<std::string> made_;    ///< paths of new files, the first to be removed at the end
  std::unique_ptr<hxvoxora::OutputFile> data_;
  std::unique_ptr<hxvoxora::FileLock> lock_;  ///< of the data file, under whatever name
};

/// The content of a parameter file. Throws McException naming the file when it cannot be read, or not as a whole.
std::string readParameterText(hxvoxora::FileSystem& files, const std::string& path);

}  // namespace quarn::detail
