#include "quarn/voxora/files/InputFile.h"

#include "quarn/base/McException.h"

namespace hxvoxora {

InputFile::~InputFile() = default;

void InputFile::readFully(std::uint64_t offset, std::span<std::byte> out) const {
  const std::size_t count = readAt(offset, out);
  if (count == out.size()) return;
  throw McException(McException::excerpt(path()) + ": the file ends " + std::to_string(out.size() - count) +
                    " bytes too early, reading " + std::to_string(out.size()) + " bytes at offset " +
                    std::to_string(offset));
}

}  // namespace hxvoxora
