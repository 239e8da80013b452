#include "quarn/voxora/files/fileNames.h"

#include <algorithm>

#include "quarn/voxora/files/detail/xmlCheck.h"

namespace hxvoxora {

namespace {

constexpr std::string_view digits = "0123456789abcdef";
constexpr std::size_t digitCount = 16;

/// As nameObjection(), in any encoding.
std::string componentObjection(std::string_view name) {
  if (name.empty()) return "no file name";
  if (name == "." || name == "..") return "a folder, not a file";
  if (name.size() > maxNameBytes) return "longer than " + std::to_string(maxNameBytes) + " bytes";
  if (name.find_first_of("/\\") != std::string_view::npos) return "not a plain file name";
  const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
  if (std::any_of(name.begin(), name.end(), isControl)) return "holds a control character";
  return {};
}

}  // namespace

std::string folderPrefix(std::string_view path) {
  return std::string(path.substr(0, path.rfind('/') + 1));
}

std::string folderOf(std::string_view path) {
  std::string prefix = folderPrefix(path);
  if (prefix.size() > 1) prefix.pop_back();
  return prefix;
}

std::string bareName(std::string_view path) {
  return std::string(path.substr(path.rfind('/') + 1));
}

bool isPlainName(std::string_view name) {
  return componentObjection(name).empty();
}

std::string nameObjection(std::string_view name) {
  std::string objection = componentObjection(name);
  if (objection.empty() && detail::findInvalidUtf8(name) != std::string_view::npos) objection = "not UTF-8";
  return objection;
}

std::string generationText(std::uint64_t generation) {
  std::string text(digitCount, '0');
  for (std::size_t i = 0; i < digitCount; ++i) text[i] = digits[generation >> (60 - 4 * i) & 15];
  return text;
}

std::optional<std::uint64_t> parseGeneration(std::string_view text) {
  if (text.size() != digitCount) return std::nullopt;
  std::uint64_t generation = 0;
  for (const char c : text) {
    const std::size_t digit = digits.find(c);
    if (digit == std::string_view::npos) return std::nullopt;
    generation = generation << 4 | digit;
  }
  return generation != 0 ? std::optional(generation) : std::nullopt;
}

}  // namespace hxvoxora
