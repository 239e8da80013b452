#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "quarn/voxora/files/PassingFileSystem.h"

/// What happened to a disk, one change after the other. Files and folders go by numbers, since their names change.
struct DiskChange {
  enum class Kind {
    link,        ///< the new file or folder `node` got the name `name` in `folder`
    unlink,      ///< `name` went from `folder`
    move,        ///< `node`, named `formerName` in `formerFolder`, got the name `name` in `folder`
    write,       ///< `bytes` went into the file `node` at `offset`
    syncFile,    ///< what was written into `node` is on stable storage
    syncFolder,  ///< the names in `folder` are on stable storage
  };

  Kind kind;
  std::size_t node = 0;
  std::size_t folder = 0;
  std::string name = {};
  std::size_t formerFolder = 0;
  std::string formerName = {};
  std::uint64_t offset = 0;
  std::vector<std::byte> bytes = {};
  bool isFolder = false;  ///< what was linked
};

/// Another file system whose changes below one folder are noted; nothing is really synced. The text in locks is
/// nobody's data and is not noted.
class DiskRecorder : public hxvoxora::PassingFileSystem {
public:
  static constexpr std::size_t kRoot = 0;

  /// `root` exists and is empty.
  DiskRecorder(FileSystem& base, const std::string& root);

  std::vector<DiskChange> changes() const;
  std::size_t changeCount() const;

  std::unique_ptr<hxvoxora::OutputFile> createExclusively(const std::string& path, Access access) override;
  void rename(const std::string& from, const std::string& to) override;
  bool remove(const std::string& path) override;
  void syncDirectory(const std::string& directory) override;
  void makePrivateDirectory(const std::string& path) override;
  void createDirectory(const std::string& path, Access access) override;
  bool removeDirectory(const std::string& path) override;

private:
  class Output;

  /// A name in a folder that is recorded.
  struct Place {
    std::size_t folder;
    std::string name;
  };

  bool isRecorded(const std::string& path) const;
  Place placeOf(const std::string& path) const;
  std::size_t link(const std::string& path, bool isFolder);
  void unlink(const std::string& path);
  void note(DiskChange change);

  const std::string root_;
  mutable std::mutex mutex_;  // guards everything below
  std::vector<DiskChange> changes_;
  std::vector<std::map<std::string, std::size_t>> folders_;  ///< of every node; empty for files
};
