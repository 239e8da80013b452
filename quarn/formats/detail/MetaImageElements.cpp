#include "quarn/formats/detail/MetaImageElements.h"

#include "quarn/formats/detail/MetaImageHeader.h"

namespace quarn::formats::detail {

namespace {

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r";
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

}  // namespace

MetaImageElements::MetaImageElements(std::string_view bytes, const QString& file) : file_(file) {
  bytes = bytes.substr(0, MetaImageHeader::maxBytes);
  for (int number = 1;; ++number) {
    const std::size_t end = bytes.find('\n', size_);
    if (end == std::string_view::npos) {
      refuse(file_, QStringLiteral("is not a MetaImage, or cut: its header has no line \"ElementDataFile = ...\""));
    }
    const std::string_view line = bytes.substr(size_, end - size_);
    size_ = end + 1;
    if (takeLine(line, number)) return;
  }
}

/// True for the last line.
bool MetaImageElements::takeLine(std::string_view line, int number) {
  if (trimmed(line).empty()) return false;
  const std::size_t sign = line.find('=');
  const std::string_view name = trimmed(line.substr(0, sign));
  const bool isElement = sign != std::string_view::npos && !name.empty() && line.find('\0') == std::string_view::npos;
  if (!isElement) {
    refuse(file_, QStringLiteral("is not a MetaImage: line %1 is ").arg(number) + quoted(line) +
                      QStringLiteral(", not \"Name = Value\""));
  }
  const bool isNew = values_.emplace(name, trimmed(line.substr(sign + 1))).second;
  if (!isNew) refuse(file_, QStringLiteral("element %1 stands there twice").arg(quoted(name)));
  return name == "ElementDataFile";
}

const std::string* MetaImageElements::find(const char* name) const {
  const auto found = values_.find(name);
  return found == values_.end() ? nullptr : &found->second;
}

const std::string& MetaImageElements::get(const char* name) const {
  const std::string* const value = find(name);
  if (!value) refuse(file_, QStringLiteral("element %1 is missing").arg(QLatin1String(name)));
  return *value;
}

bool MetaImageElements::isTrue(const char* name, bool otherwise) const {
  const std::string* const value = find(name);
  if (!value || value->empty()) return otherwise;
  return value->front() == 'T' || value->front() == 't' || value->front() == '1';
}

void MetaImageElements::refuseValue(const char* name, const QString& why) const {
  refuse(file_, QStringLiteral("element %1 is %2: %3").arg(QLatin1String(name), quoted(get(name)), why));
}

}  // namespace quarn::formats::detail
