#include "quarn/voxora/files/FileSystem.h"

#include "quarn/voxora/files/PosixFileSystem.h"

namespace hxvoxora {

FileSystem::~FileSystem() = default;

FileSystem& FileSystem::posix() {
  static PosixFileSystem instance;
  return instance;
}

}  // namespace hxvoxora
