#include "quarn/kernel/params/detail/valueText.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace quarn::detail {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view nextWord(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
  text.remove_prefix(word.size());
  return word;
}

template <class Number>
std::optional<Number> numberFrom(std::string_view word) {
  Number number;
  const char* const last = word.data() + word.size();
  const auto [end, error] = std::from_chars(word.data(), last, number);
  return error == std::errc() && end == last ? std::optional(number) : std::nullopt;
}

/// The only word of a text; empty when there are more.
std::string_view singleWord(std::string_view text) {
  const std::string_view word = nextWord(text);
  return nextWord(text).empty() ? word : std::string_view();
}

std::optional<HxParameter::Value> realsFrom(std::string_view text) {
  std::vector<double> reals;
  for (std::string_view word = nextWord(text); !word.empty(); word = nextWord(text)) {
    const auto real = numberFrom<double>(word);
    if (!real) return std::nullopt;
    reals.push_back(*real);
  }
  return reals.empty() ? std::nullopt : std::optional<HxParameter::Value>(std::move(reals));
}

}  // namespace

std::optional<HxParameter::Value> valueFromText(HxParameter::Type type, std::string_view text) {
  switch (type) {
    case HxParameter::Type::Integer:
      return numberFrom<std::int64_t>(singleWord(text));
    case HxParameter::Type::Real:
      return numberFrom<double>(singleWord(text));
    case HxParameter::Type::Reals:
      return realsFrom(text);
    default:
      return HxParameter::Value(std::string(text));
  }
}

}  // namespace quarn::detail
