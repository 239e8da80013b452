#pragma once

#include <QString>
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "quarn/formats/detail/DicomElements.h"

namespace quarn::formats::detail {

/// Goes through the elements of a DICOM file. One pass.
class DicomParser {
public:
  /// @throws McException when the file cannot be read.
  explicit DicomParser(const QString& file);

  /// Whether the file has the mark of DICOM.
  bool hasMark();
  /// Everything up to the pixels; throws as DicomElements::read().
  DicomElements parse();

private:
  using Tag = DicomElements::Tag;

  struct Header {
    Tag tag = 0;
    std::array<char, 2> representation{};  ///< zeros when the file does not tell
    std::uint32_t length = 0;
    bool hasUndefinedLength() const { return length == 0xFFFFFFFFU; }
  };

  std::uint64_t left() const { return size_ - position_; }
  std::uint16_t take16();
  std::uint32_t take32();
  void take(std::byte* out, std::size_t count);
  Header takeHeader(bool isExplicit);
  void takeLongLength(Header& header);
  std::string takeValue(const Header& header);
  void skipValue(const Header& header, bool isExplicit, int depth);
  void skipItems(Tag sequence, bool isExplicit, int depth);
  void skipElements(Tag sequence, bool isExplicit, int depth);
  void requireLength(const Header& header) const;
  void chooseSyntax();
  bool takeElement();
  [[noreturn]] void refuseElement(Tag tag, const char* what) const;

  QString file_;
  std::unique_ptr<hxvoxora::InputFile> input_;
  std::uint64_t size_ = 0;
  std::uint64_t position_ = 0;
  std::vector<std::byte> window_;  ///< bytes of the file from windowStart_ on
  std::uint64_t windowStart_ = 0;
  bool isExplicit_ = true;
  DicomElements elements_;
};

}  // namespace quarn::formats::detail
