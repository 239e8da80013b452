#include <algorithm>
#include <locale>
#include <string>

#include "hxroi/HxRois.h"

namespace {

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

std::string upperCase(std::string text) {
  const auto& facet = std::use_facet<std::ctype<char>>(std::locale());
  facet.toupper(text.data(), text.data() + text.size());
  return text;
}

std::string withoutTrailingDigits(const std::string& name) {
  const auto last = std::find_if_not(name.rbegin(), name.rend(), isDigit);
  return {name.begin(), last.base()};
}

}  // namespace

bool HxRois::isNameUnique(const std::string& name) const {
  const std::string wanted = upperCase(name);
  return std::none_of(index_.begin(), index_.end(),
                      [&wanted](const auto& entry) { return upperCase(entry.first) == wanted; });
}

std::string HxRois::getUniqueName(const std::string& name) const {
  if (isNameUnique(name)) return name;
  const std::string stem = withoutTrailingDigits(name);
  for (std::size_t number = 0;; ++number) {
    const std::string candidate = stem + std::to_string(number);
    if (isNameUnique(candidate)) return candidate;
  }
}
