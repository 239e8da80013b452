#include "quarn/kernel/io/detail/FieldFileNames.h"

#include "quarn/voxora/files/fileNames.h"

namespace quarn::detail {
namespace {

constexpr std::string_view dataEnd = ".dat";
constexpr std::string_view newDataEnd = ".dat~new";

/// The mark between a beginning and an end that make up the rest of the name.
std::optional<std::uint64_t> markBetween(std::string_view name, std::string_view begin, std::string_view end) {
  if (!name.starts_with(begin) || !name.ends_with(end) || name.size() < begin.size() + end.size()) return std::nullopt;
  return hxvoxora::parseGeneration(name.substr(begin.size(), name.size() - begin.size() - end.size()));
}

}  // namespace

FieldFileNames::FieldFileNames(std::string_view path) : bareName_(hxvoxora::bareName(path)), stem_(bareName_) {
  const std::size_t dot = stem_.rfind('.');
  if (dot != std::string::npos && dot > 0) stem_.erase(dot);
  stem_ += '-';
}

std::string FieldFileNames::dataFile(std::uint64_t generation) const {
  return stem_ + hxvoxora::generationText(generation) + std::string(dataEnd);
}

std::string FieldFileNames::newDataFile(std::uint64_t generation) const {
  return stem_ + hxvoxora::generationText(generation) + std::string(newDataEnd);
}

std::string FieldFileNames::newParameterFile(std::uint64_t generation) const {
  return bareName_ + "~" + hxvoxora::generationText(generation);
}

std::optional<std::uint64_t> FieldFileNames::generationOfData(std::string_view name) const {
  return markBetween(name, stem_, dataEnd);
}

std::optional<std::uint64_t> FieldFileNames::generationOfNew(std::string_view name) const {
  if (const auto generation = markBetween(name, stem_, newDataEnd)) return generation;
  return markBetween(name, bareName_ + "~", "");
}

}  // namespace quarn::detail
