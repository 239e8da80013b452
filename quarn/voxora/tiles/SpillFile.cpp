#include "quarn/voxora/tiles/detail/SpillFile.h"

#include <xxhash.h>

#include "quarn/base/McException.h"

namespace hxvoxora::detail {

namespace {

void removeIfPossible(FileSystem& files, const std::string& path) {
  try {
    files.remove(path);
  } catch (const McException&) {
    // What went wrong before tells more.
  }
}

}  // namespace

SpillFile::SpillFile(FileSystem& files, const std::string& path)
    : output_(files.createExclusively(path, FileSystem::Access::ownerOnly)) {
  try {
    input_ = files.openForReading(path, FileSystem::Links::refuse);
    files.remove(path);
  } catch (const McException&) {
    removeIfPossible(files, path);
    throw;
  }
}

void SpillFile::append(std::span<const std::byte> bytes) {
  output_->append(bytes);
  size_ += bytes.size();
}

void SpillFile::read(std::uint64_t offset, std::uint64_t checksum, std::span<std::byte> out) const {
  input_->readFully(offset, out);
  if (XXH3_64bits(out.data(), out.size()) == checksum) return;
  throw McException(McException::excerpt(input_->path()) + ": spilled tile at byte " + std::to_string(offset) +
                    ": the checksum is wrong");
}

}  // namespace hxvoxora::detail
