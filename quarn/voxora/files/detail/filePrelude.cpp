#include "quarn/voxora/files/detail/filePrelude.h"

#include <algorithm>
#include <array>

#include "quarn/voxora/files/detail/littleEndian.h"
#include "quarn/voxora/files/fileNames.h"

namespace hxvoxora::detail {

void appendPrelude(std::vector<std::byte>& bytes, std::string_view magic, std::uint64_t generation) {
  for (const char c : magic) bytes.push_back(static_cast<std::byte>(c));
  appendLittleEndian(bytes, binaryVersion);
  appendLittleEndian(bytes, generation);
}

std::string preludeObjection(const InputFile& file, std::string_view magic, std::uint64_t generation) {
  std::array<std::byte, preludeBytes> head{};
  if (file.readAt(0, head) < head.size()) return "shorter than its first " + std::to_string(preludeBytes) + " bytes";
  const auto matches = [](char c, std::byte b) { return static_cast<std::byte>(c) == b; };
  if (!std::equal(magic.begin(), magic.end(), head.begin(), matches)) {
    return "magic: does not begin with " + std::string(magic);
  }
  const auto version = readLittleEndian<std::uint16_t>(&head[6]);
  if (version != binaryVersion) return "version " + std::to_string(version) + " is not known";
  const auto found = readLittleEndian<std::uint64_t>(&head[8]);
  if (found == generation) return {};
  return "generation " + generationText(found) + " is not " + generationText(generation) + " as in the header";
}

}  // namespace hxvoxora::detail
