#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "quarn/voxora/export.h"
#include "quarn/voxora/files/FileLock.h"
#include "quarn/voxora/files/InputFile.h"
#include "quarn/voxora/files/OutputFile.h"

namespace hxvoxora {

/// What a path stands for; links are not followed.
enum class FileKind {
  missing,    ///< nothing has this name
  regular,    ///< a regular file
  directory,  ///< a folder
  link,       ///< a symbolic link, whatever it points to
  other       ///< device, pipe, socket
};

/// The door through which the toolkit touches files; nothing else in it opens, renames or removes any.
///
/// Paths are narrow texts in the encoding of the system, "/" between components, absolute or relative to the working
/// folder. All operations may be called from several threads at once. Unless told otherwise an operation that fails
/// throws McException with the call, the path and the system's reason, and has changed nothing. What the system itself
/// refused is a FileError, which tells the number of the reason too.
class QUARN_VOXORA_API FileSystem {
public:
  /// Whether the last component of a path may be a symbolic link when a file is opened.
  enum class Links { follow, refuse };

  /// Who may use a new file: nobody but its owner (mode 0600), or everybody whom the user's file mode mask lets.
  enum class Access { ownerOnly, byMask };

  /// Whether what is written reaches stable storage before it counts, so that it outlasts the computer, or only has to
  /// outlast the process.
  enum class Durability { lasting, passing };

  FileSystem() = default;
  virtual ~FileSystem();

  FileSystem(const FileSystem&) = delete;
  FileSystem& operator=(const FileSystem&) = delete;

  /// The files of this computer. Lives as long as the process.
  static FileSystem& posix();

  /// The files that the process works on: posix(), unless a FileSystemOverride put others in their place. Whoever keeps
  /// the reference stays on the files of the time of the call.
  static FileSystem& current();

  /// Opens an existing regular file. Anything else (folder, pipe, device; a link when refused) throws, and the call
  /// never waits for a pipe or device. The file is not handed on to programs that the process starts.
  virtual std::unique_ptr<InputFile> openForReading(const std::string& path, Links links) = 0;

  /// Makes a new, empty file. A name that exists already, be it a dangling link, throws.
  virtual std::unique_ptr<OutputFile> createExclusively(const std::string& path, Access access) = 0;

  /// Gives a file or folder another name on the same file system, in one step: whoever looks sees the old or the new
  /// state. A file that had the new name is replaced by a file, an empty folder by a folder; anything else throws.
  /// Lasting only after syncDirectory of the folder.
  virtual void rename(const std::string& from, const std::string& to) = 0;

  /// Removes a file or link, never a folder. Returns false when nothing had this name.
  virtual bool remove(const std::string& path) = 0;

  /// What the path stands for. A path that cannot be looked at (no permission, a component that is no folder) throws.
  virtual FileKind kind(const std::string& path) = 0;

  /// Names (no folders in front, without "." and "..") of the entries of a folder, sorted by bytes.
  virtual std::vector<std::string> list(const std::string& directory) = 0;

  /// Returns when names made, changed and removed in the folder are on stable storage.
  virtual void syncDirectory(const std::string& directory) = 0;

  /// Makes a folder that nobody but the user of the process may use (mode 0700), or takes one that is there: a real
  /// folder of his own that nobody else may write to; others are kept from reading it from now on. Anything else of
  /// that name throws. The folders above must exist.
  virtual void makePrivateDirectory(const std::string& path) = 0;

  /// Makes a new, empty folder. A name that exists already throws, and so does a missing folder above.
  virtual void createDirectory(const std::string& path, Access access) = 0;

  /// Removes an empty folder; anything else throws. Returns false when nothing had this name.
  virtual bool removeDirectory(const std::string& path) = 0;

  /// Whether the permissions let the process make files in this folder; false for what is no folder. Only making a file
  /// shows whether it can be made.
  virtual bool isWritable(const std::string& directory) = 0;

  /// Locks an existing regular file of a name that is no link, without waiting. Null when somebody has it locked, in
  /// this process or another, or when the name went to another file meanwhile. The lock ends with the object, or with
  /// the process, however that ends.
  virtual std::unique_ptr<FileLock> tryLock(const std::string& path) = 0;

  /// The same for a lock that others may share: null while somebody has the file alone. It only takes a file that can
  /// be read.
  virtual std::unique_ptr<FileLock> tryLockShared(const std::string& path) = 0;

  /// Whether files can be renamed from one of these folders to the other.
  virtual bool isOneFileSystem(const std::string& directory, const std::string& other) = 0;

  /// Bytes that the user of the process may still write on the file system of this folder.
  virtual std::uint64_t freeSpace(const std::string& directory) = 0;
};

/// Makes FileSystem::current() another file system for as long as the object lives; for tests. Overrides nest: the end
/// of one brings back what was there before. Only while no other thread asks for current().
class QUARN_VOXORA_API FileSystemOverride {
public:
  /// `fileSystem` must outlive the object and all that took it for the current one.
  explicit FileSystemOverride(FileSystem& fileSystem);
  ~FileSystemOverride();

  FileSystemOverride(const FileSystemOverride&) = delete;
  FileSystemOverride& operator=(const FileSystemOverride&) = delete;

private:
  FileSystem* const former_;
};

}  // namespace hxvoxora
