#include "quarn/voxora/files/detail/fileNames.h"

#include <algorithm>

#include "quarn/voxora/files/detail/xmlCheck.h"

namespace hxvoxora::detail {

std::string folderPrefix(std::string_view path) {
  return std::string(path.substr(0, path.rfind('/') + 1));
}

std::string folderOf(std::string_view path) {
  const std::string prefix = folderPrefix(path);
  return prefix.size() > 1 ? prefix.substr(0, prefix.size() - 1) : prefix;
}

std::string bareName(std::string_view path) {
  return std::string(path.substr(path.rfind('/') + 1));
}

std::string nameObjection(std::string_view name) {
  if (name.empty()) return "no file name";
  if (name == "." || name == "..") return "a folder, not a file";
  if (name.size() > maxNameBytes) return "longer than " + std::to_string(maxNameBytes) + " bytes";
  if (name.find_first_of("/\\") != std::string_view::npos) return "not a plain file name";
  const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
  if (std::any_of(name.begin(), name.end(), isControl)) return "holds a control character";
  if (findInvalidUtf8(name) != std::string_view::npos) return "not UTF-8";
  return {};
}

std::string generationText(std::uint64_t generation) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text(16, '0');
  for (std::size_t i = 0; i < 16; ++i) text[i] = digits[generation >> (60 - 4 * i) & 15];
  return text;
}

}  // namespace hxvoxora::detail
