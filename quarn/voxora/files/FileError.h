#pragma once

#include <string>

#include "quarn/base/McException.h"
#include "quarn/voxora/export.h"

namespace hxvoxora {

/// A file operation that the system refused: "<call> <path>: <reason>".
class QUARN_VOXORA_API FileError : public McException {
public:
  FileError(const std::string& text, int number) : McException(text), number_(number) {}
  FileError(const FileError&) noexcept = default;
  FileError& operator=(const FileError&) noexcept = default;
  ~FileError() override;

  /// The reason as errno tells it.
  int number() const { return number_; }

  /// Whether there was no room, or none that this user may take: it is in the way of every other file too.
  bool isDiskFull() const;

private:
  int number_;
};

}  // namespace hxvoxora
