#pragma once

#include <QString>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/voxora/files/InputFile.h"

namespace quarn::formats::detail {

/// The elements of a DICOM file up to its pixels: those of the outermost level, none of the nested ones.
class DicomElements {
public:
  using Tag = std::uint32_t;  ///< group in the upper half, element in the lower
  static constexpr Tag transferSyntax = 0x00020010;
  static constexpr Tag pixelData = 0x7FE00010;
  static constexpr Tag floatPixels = 0x7FE00008;
  static constexpr Tag doublePixels = 0x7FE00009;
  static constexpr Tag valueTable = 0x00283000;    ///< what stored pixels mean, in place of slope and intercept
  static constexpr Tag sharedGroups = 0x52009229;  ///< place and scale of all frames of an enhanced image
  static constexpr Tag frameGroups = 0x52009230;   ///< those of each frame

  /// Reads a file; nothing when it does not have the mark of a DICOM file.
  ///
  /// @throws McException, naming `file` and the element, for elements that are cut, are none, or are nested more than
  ///   16 deep, and for a transfer syntax in which pixels are compressed.
  static std::optional<DicomElements> read(const QString& file);

  const QString& file() const { return file_; }
  std::int64_t fileBytes() const { return fileBytes_; }

  /// Where the pixels stand in the file; 0 bytes when there are none.
  std::uint64_t pixelOffset() const { return pixelOffset_; }
  std::int64_t pixelBytes() const { return pixelBytes_; }

  bool has(Tag tag) const { return values_.contains(tag); }
  /// Whether one of the elements named above but the first two is there and not empty.
  bool isNoted(Tag tag) const { return noted_.contains(tag); }
  /// A text without the blanks around it; empty when the element is missing.
  std::string text(Tag tag) const;
  /// A binary 16-bit number; `otherwise` when the element is missing.
  std::int64_t number(Tag tag, std::int64_t otherwise) const;
  /// The `count` numbers of a text; nothing when the element is missing or empty. Refuses another number of them, and
  /// what is no finite number.
  std::optional<std::vector<double>> decimals(Tag tag, std::size_t count) const;

  /// @throws McException "<file>: element (gggg,eeee) is <value>: <why>".
  [[noreturn]] void refuseValue(Tag tag, const QString& why) const;

private:
  friend class DicomParser;
  DicomElements() = default;

  QString file_;
  std::int64_t fileBytes_ = 0;
  std::uint64_t pixelOffset_ = 0;
  std::int64_t pixelBytes_ = 0;
  std::map<Tag, std::string> values_;
  std::set<Tag> noted_;
};

/// A tag as it is written: "(0028,0010)".
QString tagText(DicomElements::Tag tag);

}  // namespace quarn::formats::detail
