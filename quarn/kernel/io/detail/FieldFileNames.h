#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Names of the files of a saved field. docs/format/field.md describes them.
namespace quarn::detail {

/// The longest name of a parameter file for which all others keep below 256 bytes.
constexpr std::size_t maxFieldNameBytes = 230;

/// Names, without folder, of the files that belong to the parameter file of this path.
class FieldFileNames {
public:
  explicit FieldFileNames(std::string_view path);

  std::string dataFile(std::uint64_t generation) const;
  std::string newDataFile(std::uint64_t generation) const;       ///< until it is complete
  std::string newParameterFile(std::uint64_t generation) const;  ///< the same

  /// The generation that the name tells when it is dataFile() of one.
  std::optional<std::uint64_t> generationOfData(std::string_view name) const;
  /// The same for the other two.
  std::optional<std::uint64_t> generationOfNew(std::string_view name) const;

private:
  std::string bareName_;
  std::string stem_;
};

}  // namespace quarn::detail
