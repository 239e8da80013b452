#pragma once

#include <QByteArray>
#include <QString>
#include <memory>

#include "quarn/voxora/files/FileSystem.h"
#include "roitools/export.h"

namespace roitools {

/// A folder that is filled beside its place, as "<name>~<16 hexadecimal digits>", until commit() gives it its name.
/// What is not committed is removed with the object. A file ".lock" in it is locked as long as somebody fills it. One
/// thread.
class ROITOOLS_API NewFolder {
public:
  /// Makes the new folder. Those that killed processes left for the same name are removed.
  ///
  /// @throws McException, naming `folder`, when it is anything but an empty folder, or when it cannot be made.
  explicit NewFolder(const QString& folder);
  ~NewFolder();
  NewFolder(const NewFolder&) = delete;
  NewFolder& operator=(const NewFolder&) = delete;

  /// The path of a file in the new folder.
  QString file(const QString& name) const;

  /// Writes a file and brings it to stable storage. McException when it fails.
  void write(const QString& name, const QByteArray& content) const;

  /// Brings the new folder to stable storage and gives it its name. McException when it fails.
  void commit();

  /// Removes what processes that were killed while they filled such a folder left for this name: folders of files with
  /// a ".lock" that nobody has locked. Others, and those that may not be removed, stay.
  static void removeAbandoned(const QString& folder);

private:
  void lock();

  hxvoxora::FileSystem& files_;
  const QString path_, parent_, newPath_;
  bool isMade_ = false;
  std::unique_ptr<hxvoxora::FileLock> lock_;
};

}  // namespace roitools
