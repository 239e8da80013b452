#include "fuzz/targets/HostScope.h"

#include "fuzz/targets/properties.h"
#include "quarn/base/McException.h"

namespace fuzz {

namespace {

void provideApplication() {
  if (QCoreApplication::instance()) return;
  static int count = 1;
  static char name[] = "fuzz";
  static char* words[] = {name, nullptr};
  static QCoreApplication application(count, words);
}

void requireShowable(const std::string& text) {
  constexpr std::size_t longestLine = 4000;
  require(text.starts_with("/v"), "a refusal begins with its file: " + text);
  std::size_t length = 0;
  for (const char c : text) {
    length = c == '\n' ? 0 : length + 1;
    require(length <= longestLine, "lines of a refusal are short: " + text);
    require(c == '\n' || (static_cast<unsigned char>(c) >= 0x20 && c != 0x7F),
            "a refusal has no control characters: " + text);
  }
}

}  // namespace

HostScope::HostScope(const std::string& name, std::span<const std::byte> input)
    : file_(QString::fromStdString("/v/" + name)), current_(files_) {
  provideApplication();
  files_.makeDirectory("/v");
  files_.setContent("/v/" + name, {input.begin(), input.end()});
}

std::string HostScope::refusalOf(const std::function<void()>& action) {
  try {
    action();
    return {};
  } catch (const McException& refusal) {
    requireShowable(refusal.what());
    return refusal.what();
  }
}

}  // namespace fuzz
