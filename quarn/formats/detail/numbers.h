#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <vector>

namespace quarn::formats::detail {

/// The numbers of a text, with blanks between them, whatever the locale; nothing when a word is no number of type T.
/// "nan" and "inf" are numbers.
template <typename T>
std::optional<std::vector<T>> parseNumbers(std::string_view text) {
  constexpr std::string_view blanks = " \t";
  std::vector<T> numbers;
  for (;;) {
    const std::size_t start = text.find_first_not_of(blanks);
    if (start == std::string_view::npos) return numbers;
    text.remove_prefix(start);
    if (text.front() == '+') text.remove_prefix(1);
    T number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    if (!text.empty() && blanks.find(text.front()) == std::string_view::npos) return std::nullopt;
    numbers.push_back(number);
  }
}

/// The one number of a text; nothing when there is another number of them.
template <typename T>
std::optional<T> parseNumber(std::string_view text) {
  const auto numbers = parseNumbers<T>(text);
  return numbers && numbers->size() == 1 ? std::optional(numbers->front()) : std::nullopt;
}

}  // namespace quarn::formats::detail
