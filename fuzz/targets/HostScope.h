#pragma once

#include <QCoreApplication>
#include <QString>
#include <cstddef>
#include <functional>
#include <span>
#include <string>

#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/MemoryFileSystem.h"

namespace fuzz {

/// What a reader of the host needs while it reads a file of a fuzzer: an application, through which texts are
/// translated, a folder "/v" in memory, and somebody who takes its messages.
class HostScope {
public:
  /// Puts `input` into the file "/v/<name>".
  HostScope(const std::string& name, std::span<const std::byte> input);

  const QString& file() const { return file_; }
  hxvoxora::MemoryFileSystem& files() { return files_; }

  /// Runs `action`. Returns the text of the McException it throws, empty when it throws none. The text must begin with
  /// the folder, and each of its lines be of a length that can be shown and without control characters.
  std::string refusalOf(const std::function<void()>& action);

private:
  hxvoxora::MemoryFileSystem files_;
  const QString file_;
  const hxvoxora::FileSystemOverride current_;
  HxRecordingSink sink_;
};

}  // namespace fuzz
