#include "quarn/voxora/files/FileError.h"

#include <cerrno>

namespace hxvoxora {

FileError::~FileError() = default;

bool FileError::isDiskFull() const {
  return number_ == ENOSPC || number_ == EDQUOT;
}

}  // namespace hxvoxora
