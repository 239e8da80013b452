#include "quarn/base/McEnvironment.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

constexpr std::array<std::string_view, 4> kTrueWords{"1", "true", "yes", "on"};
constexpr std::array<std::string_view, 4> kFalseWords{"0", "false", "no", "off"};

// std::tolower() would follow the locale.
std::string lowerAscii(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return result;
}

bool isOneOf(std::string_view word, const auto& words) {
  return std::ranges::find(words, word) != words.end();
}

}  // namespace

bool McEnvironment::getBool(const char* name, bool valueWhenSetWithoutText, bool valueWhenUnset) {
  const char* text = std::getenv(name);
  if (!text) return valueWhenUnset;
  const std::string word = lowerAscii(text);
  if (isOneOf(word, kTrueWords)) return true;
  if (isOneOf(word, kFalseWords)) return false;
  return valueWhenSetWithoutText;
}
