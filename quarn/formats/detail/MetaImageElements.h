#pragma once

#include <QString>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/formats/detail/fault.h"
#include "quarn/formats/detail/numbers.h"

namespace quarn::formats::detail {

/// The elements of a MetaImage header, "Name = Value" in lines, up to "ElementDataFile".
class MetaImageElements {
public:
  /// @throws McException, naming `file`, line and text, for a line of another form, for an element that stands twice,
  ///   and for a header without end.
  MetaImageElements(std::string_view bytes, const QString& file);

  /// Bytes of the header.
  std::size_t size() const { return size_; }

  bool has(const char* name) const { return values_.contains(name); }
  /// The value of an element; null when it is missing.
  const std::string* find(const char* name) const;
  /// The same; a missing one is refused.
  const std::string& get(const char* name) const;
  /// A value that begins with "T", "t" or "1"; `otherwise` when the element is missing.
  bool isTrue(const char* name, bool otherwise) const;
  /// The `count` numbers of an element; nothing when it is missing.
  template <typename T>
  std::optional<std::vector<T>> numbers(const char* name, std::size_t count) const {
    const std::string* const text = find(name);
    if (!text) return std::nullopt;
    auto numbers = parseNumbers<T>(*text);
    if (!numbers || numbers->size() != count) refuseValue(name, QStringLiteral("%1 numbers are needed").arg(count));
    return numbers;
  }

  [[noreturn]] void refuseValue(const char* name, const QString& why) const;

private:
  bool takeLine(std::string_view line, int number);

  QString file_;
  std::map<std::string, std::string, std::less<>> values_;
  std::size_t size_ = 0;
};

}  // namespace quarn::formats::detail
