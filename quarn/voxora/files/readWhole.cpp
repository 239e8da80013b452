#include "quarn/voxora/files/readWhole.h"

#include <cstddef>
#include <span>

#include "quarn/base/McException.h"

namespace hxvoxora {

std::string readWhole(FileSystem& files, const std::string& path, std::uint64_t most, FileSystem::Links links) {
  const auto file = files.openForReading(path, links);
  const std::uint64_t size = file->identity().size;
  if (size > most) {
    throw McException(McException::excerpt(path) + ": is too long: more than " + std::to_string(most) + " bytes");
  }
  std::string bytes(static_cast<std::size_t>(size), '\0');
  file->readFully(0, std::as_writable_bytes(std::span(bytes)));
  return bytes;
}

}  // namespace hxvoxora
