#include "quarn/kernel/app/detail/formatText.h"

#include <cstdio>
#include <locale.h>

namespace quarn::detail {
namespace {

/// Numbers of the calling thread are formatted without the locale while this lives.
class PlainNumbers {
public:
  PlainNumbers() : former_(uselocale(plain())) {}
  ~PlainNumbers() { uselocale(former_); }
  PlainNumbers(const PlainNumbers&) = delete;
  PlainNumbers& operator=(const PlainNumbers&) = delete;

private:
  static locale_t plain() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
  }

  locale_t former_;
};

}  // namespace

std::string formatText(const char* format, std::va_list arguments) {
  const PlainNumbers plainNumbers;
  std::va_list counting;
  va_copy(counting, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, counting);
  va_end(counting);
  if (length <= 0) return {};
  std::string text(static_cast<std::size_t>(length), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  return text;
}

}  // namespace quarn::detail
