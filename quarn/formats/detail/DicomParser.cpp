#include "quarn/formats/detail/DicomParser.h"

#include <QFile>
#include <algorithm>
#include <cstring>
#include <span>
#include <string_view>

#include "quarn/formats/detail/RawVoxels.h"
#include "quarn/formats/detail/fault.h"
#include "quarn/voxora/files/FileSystem.h"

namespace quarn::formats::detail {

namespace {

constexpr std::uint64_t markOffset = 128;
constexpr std::string_view mark = "DICM";
constexpr std::size_t windowBytes = 64 * 1024;
constexpr std::uint32_t longestKept = 1024;
constexpr int deepest = 16;

constexpr std::uint32_t item = 0xFFFEE000;
constexpr std::uint32_t endOfItem = 0xFFFEE00D;
constexpr std::uint32_t endOfSequence = 0xFFFEE0DD;

constexpr std::string_view implicitSyntax = "1.2.840.10008.1.2";
constexpr std::string_view explicitSyntax = "1.2.840.10008.1.2.1";

/// Representations whose lengths take 32 bits.
bool isLong(const std::array<char, 2>& representation) {
  static constexpr std::string_view names[] = {"OB", "OD", "OF", "OL", "OV", "OW", "SQ",
                                               "SV", "UC", "UN", "UR", "UT", "UV"};
  return std::ranges::count(names, std::string_view(representation.data(), 2)) != 0;
}

bool isKept(std::uint32_t tag) {
  const std::uint32_t group = tag >> 16;
  return group == 0x0002 || group == 0x0008 || group == 0x0018 || group == 0x0020 || group == 0x0028;
}

/// Elements of which only counts that they are there.
bool isNoted(std::uint32_t tag) {
  static constexpr std::uint32_t tags[] = {DicomElements::sharedGroups, DicomElements::frameGroups,
                                           DicomElements::valueTable, DicomElements::floatPixels,
                                           DicomElements::doublePixels};
  return std::ranges::count(tags, tag) != 0;
}

}  // namespace

DicomParser::DicomParser(const QString& file) : file_(file) {
  using hxvoxora::FileSystem;
  size_ = static_cast<std::uint64_t>(lengthOf(file));
  input_ = FileSystem::current().openForReading(QFile::encodeName(file).toStdString(), FileSystem::Links::follow);
  elements_.file_ = file;
  elements_.fileBytes_ = static_cast<std::int64_t>(size_);
}

bool DicomParser::hasMark() {
  position_ = markOffset;
  if (size_ < markOffset + mark.size()) return false;
  std::array<char, 4> found{};
  take(reinterpret_cast<std::byte*>(found.data()), found.size());
  return std::string_view(found.data(), found.size()) == mark;
}

DicomElements DicomParser::parse() {
  position_ = markOffset + mark.size();
  bool isMeta = true;
  while (left() > 0) {
    if (isMeta) {
      const std::uint64_t start = position_;
      const std::uint16_t group = take16();
      position_ = start;
      isMeta = group == 0x0002;
      if (!isMeta) chooseSyntax();
    }
    if (!takeElement()) break;
  }
  if (isMeta) chooseSyntax();
  return std::move(elements_);
}

void DicomParser::take(std::byte* out, std::size_t count) {
  if (count > left()) refuse(file_, QStringLiteral("is cut: it ends inside an element"));
  const bool isInWindow = position_ >= windowStart_ && position_ + count <= windowStart_ + window_.size();
  if (!isInWindow) {
    window_.resize(std::min<std::uint64_t>(std::max(windowBytes, count), left()));
    windowStart_ = position_;
    input_->readFully(position_, window_);
  }
  std::memcpy(out, window_.data() + (position_ - windowStart_), count);
  position_ += count;
}

std::uint16_t DicomParser::take16() {
  std::array<std::byte, 2> bytes;
  take(bytes.data(), bytes.size());
  return static_cast<std::uint16_t>(std::to_integer<unsigned>(bytes[0]) | std::to_integer<unsigned>(bytes[1]) << 8);
}

std::uint32_t DicomParser::take32() {
  const std::uint32_t low = take16();
  return low | std::uint32_t{take16()} << 16;
}

DicomParser::Header DicomParser::takeHeader(bool isExplicit) {
  Header header;
  const std::uint32_t group = take16();
  header.tag = group << 16 | take16();
  if (!isExplicit || group == 0xFFFE) {
    header.length = take32();
    return header;
  }
  take(reinterpret_cast<std::byte*>(header.representation.data()), 2);
  const bool isName = std::ranges::all_of(header.representation, [](char c) { return c >= 'A' && c <= 'Z'; });
  if (!isName) refuseElement(header.tag, "has no value representation");
  takeLongLength(header);
  return header;
}

void DicomParser::takeLongLength(Header& header) {
  header.length = take16();
  if (isLong(header.representation)) header.length = take32();
}

void DicomParser::requireLength(const Header& header) const {
  if (header.length <= left()) return;
  refuse(file_, QStringLiteral("is cut: element %1 needs %2 bytes, there are %3")
                    .arg(tagText(header.tag))
                    .arg(header.length)
                    .arg(left()));
}

/// True unless it was the pixels.
bool DicomParser::takeElement() {
  const Header header = takeHeader(isExplicit_);
  if (header.tag == DicomElements::pixelData) {
    if (header.hasUndefinedLength()) refuseElement(header.tag, "is compressed, though the transfer syntax is not");
    requireLength(header);
    elements_.pixelOffset_ = position_;
    elements_.pixelBytes_ = header.length;
    return false;
  }
  if (isNoted(header.tag) && header.length > 0) elements_.noted_.insert(header.tag);
  const bool isText = !header.hasUndefinedLength() && header.length <= longestKept;
  if (isText && isKept(header.tag)) {
    elements_.values_[header.tag] = takeValue(header);
  } else {
    skipValue(header, isExplicit_, 1);
  }
  return true;
}

std::string DicomParser::takeValue(const Header& header) {
  requireLength(header);
  std::string value(header.length, '\0');
  take(reinterpret_cast<std::byte*>(value.data()), value.size());
  return value;
}

void DicomParser::skipValue(const Header& header, bool isExplicit, int depth) {
  if (header.hasUndefinedLength()) {
    // An unknown value of undefined length is written like a sequence that tells no representations.
    const bool isUnknown = std::string_view(header.representation.data(), 2) == "UN";
    skipItems(header.tag, isExplicit && !isUnknown, depth);
    return;
  }
  requireLength(header);
  position_ += header.length;
}

void DicomParser::skipItems(Tag sequence, bool isExplicit, int depth) {
  if (depth > deepest) refuseElement(sequence, "is nested too deep");
  for (;;) {
    const Header header = takeHeader(false);
    if (header.tag == endOfSequence) return;
    if (header.tag != item) refuseElement(sequence, "is no sequence of items");
    if (header.hasUndefinedLength()) {
      skipElements(sequence, isExplicit, depth);
    } else {
      requireLength(header);
      position_ += header.length;
    }
  }
}

void DicomParser::skipElements(Tag sequence, bool isExplicit, int depth) {
  for (;;) {
    const Header header = takeHeader(isExplicit);
    if (header.tag == endOfItem) return;
    if (header.tag == item || header.tag == endOfSequence) refuseElement(sequence, "has an item without end");
    skipValue(header, isExplicit, depth + 1);
  }
}

void DicomParser::chooseSyntax() {
  const std::string syntax = elements_.text(DicomElements::transferSyntax);
  if (syntax != implicitSyntax && syntax != explicitSyntax) {
    refuse(file_, QStringLiteral("has the transfer syntax %1; only pixels that are not compressed, little endian "
                                 "(%2 and %3), are read")
                      .arg(detail::quoted(syntax), QLatin1String(implicitSyntax), QLatin1String(explicitSyntax)));
  }
  isExplicit_ = syntax == explicitSyntax;
}

void DicomParser::refuseElement(Tag tag, const char* what) const {
  refuse(file_, QStringLiteral("element %1 %2").arg(tagText(tag), QLatin1String(what)));
}

}  // namespace quarn::formats::detail
