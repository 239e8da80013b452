#pragma once

#include <QByteArray>
#include <QString>

#include "quarn/kernel/export.h"

/// Questions about files, and writing that never leaves half a file.
class QUARN_KERNEL_API HxFileHelpers {
public:
  /// True for a directory that exists and in which this process may make files; false for everything else.
  static bool isWritable(const QString& path);

  /// Writes `content` into a new file beside `path`, syncs it and renames it over `path`: `path` holds either what it
  /// held before or all of `content`. A link is followed, and stays. A device or pipe is never replaced. Throws
  /// McException with the file's name and the reason; the old file stays then, unless the text says that the new one
  /// is written: that it is there for good could not be made sure.
  static void replaceFile(const QString& path, const QByteArray& content);

  /// The whole content of a regular file. Throws McException when it is missing, a directory, another kind of file,
  /// unreadable, or longer than `limit` bytes.
  static QByteArray readFile(const QString& path, qint64 limit);

  /// Throws McException saying what is wrong unless `path` is a regular file that can be read.
  static void requireReadable(const QString& path);
};
