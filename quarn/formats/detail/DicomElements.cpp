#include "quarn/formats/detail/DicomElements.h"

#include <algorithm>
#include <cmath>

#include "quarn/formats/detail/DicomParser.h"
#include "quarn/formats/detail/fault.h"
#include "quarn/formats/detail/numbers.h"

namespace quarn::formats::detail {

QString tagText(DicomElements::Tag tag) {
  const auto half = [](std::uint32_t number) {
    return QString::number(number, 16).rightJustified(4, QLatin1Char('0')).toUpper();
  };
  return QStringLiteral("(%1,%2)").arg(half(tag >> 16), half(tag & 0xFFFF));
}

std::optional<DicomElements> DicomElements::read(const QString& file) {
  DicomParser parser(file);
  if (!parser.hasMark()) return std::nullopt;
  return parser.parse();
}

std::string DicomElements::text(Tag tag) const {
  const auto found = values_.find(tag);
  if (found == values_.end()) return {};
  constexpr std::string_view blanks(" \0", 2);
  const std::string& value = found->second;
  const std::size_t first = value.find_first_not_of(blanks);
  if (first == std::string::npos) return {};
  return value.substr(first, value.find_last_not_of(blanks) - first + 1);
}

std::int64_t DicomElements::number(Tag tag, std::int64_t otherwise) const {
  const auto found = values_.find(tag);
  if (found == values_.end()) return otherwise;
  const std::string& bytes = found->second;
  if (bytes.size() != 2) refuseValue(tag, QStringLiteral("a 16-bit number is needed"));
  return static_cast<unsigned char>(bytes[0]) | static_cast<unsigned char>(bytes[1]) << 8;
}

std::optional<std::vector<double>> DicomElements::decimals(Tag tag, std::size_t count) const {
  std::string value = text(tag);
  if (value.empty()) return std::nullopt;
  std::ranges::replace(value, '\\', ' ');
  auto numbers = parseNumbers<double>(value);
  const bool isGood = numbers && numbers->size() == count &&
                      std::ranges::all_of(*numbers, [](double number) { return std::isfinite(number); });
  if (!isGood) refuseValue(tag, QStringLiteral("%1 numbers are needed").arg(count));
  return numbers;
}

void DicomElements::refuseValue(Tag tag, const QString& why) const {
  refuse(file_, QStringLiteral("element %1 is %2: %3").arg(tagText(tag), quoted(text(tag)), why));
}

}  // namespace quarn::formats::detail
