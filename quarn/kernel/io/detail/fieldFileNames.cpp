#include "quarn/kernel/io/detail/fieldFileNames.h"

#include <algorithm>

namespace quarn::detail {
namespace {

constexpr std::string_view digits = "0123456789abcdef";
constexpr std::string_view dataEnd = ".dat";
constexpr std::string_view newDataEnd = ".dat~new";
constexpr std::size_t maxNameBytes = 255;

/// The mark between a beginning and an end that make up the rest of the name.
std::optional<std::uint64_t> markBetween(std::string_view name, std::string_view begin, std::string_view end) {
  if (!name.starts_with(begin) || !name.ends_with(end) || name.size() < begin.size() + end.size()) return std::nullopt;
  return parseMark(name.substr(begin.size(), name.size() - begin.size() - end.size()));
}

}  // namespace

std::string folderPrefixOf(std::string_view path) {
  return std::string(path.substr(0, path.rfind('/') + 1));
}

std::string folderOfPath(std::string_view path) {
  std::string prefix = folderPrefixOf(path);
  if (prefix.size() > 1) prefix.pop_back();
  return prefix;
}

std::string bareNameOf(std::string_view path) {
  return std::string(path.substr(path.rfind('/') + 1));
}

bool isPlainFileName(std::string_view name) {
  if (name.empty() || name == "." || name == ".." || name.size() > maxNameBytes) return false;
  return std::none_of(name.begin(), name.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return c == '/' || c == '\\' || byte < 0x20 || byte == 0x7F;
  });
}

std::string markText(std::uint64_t mark) {
  std::string text(16, '0');
  for (std::size_t i = 0; i < text.size(); ++i) text[i] = digits[mark >> (60 - 4 * i) & 15];
  return text;
}

std::optional<std::uint64_t> parseMark(std::string_view text) {
  if (text.size() != 16) return std::nullopt;
  std::uint64_t mark = 0;
  for (const char c : text) {
    const std::size_t digit = digits.find(c);
    if (digit == std::string_view::npos) return std::nullopt;
    mark = mark << 4 | digit;
  }
  return mark != 0 ? std::optional(mark) : std::nullopt;
}

FieldFileNames::FieldFileNames(std::string_view path) : bareName_(bareNameOf(path)), stem_(bareName_) {
  const std::size_t dot = stem_.rfind('.');
  if (dot != std::string::npos && dot > 0) stem_.erase(dot);
  stem_ += '-';
}

std::string FieldFileNames::dataFile(std::uint64_t generation) const {
  return stem_ + markText(generation) + std::string(dataEnd);
}

std::string FieldFileNames::newDataFile(std::uint64_t generation) const {
  return stem_ + markText(generation) + std::string(newDataEnd);
}

std::string FieldFileNames::newParameterFile(std::uint64_t generation) const {
  return bareName_ + "~" + markText(generation);
}

std::optional<std::uint64_t> FieldFileNames::generationOfData(std::string_view name) const {
  return markBetween(name, stem_, dataEnd);
}

std::optional<std::uint64_t> FieldFileNames::generationOfNew(std::string_view name) const {
  if (const auto generation = markBetween(name, stem_, newDataEnd)) return generation;
  return markBetween(name, bareName_ + "~", "");
}

}  // namespace quarn::detail
