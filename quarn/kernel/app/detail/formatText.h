#pragma once

#include <cstdarg>
#include <string>

namespace quarn::detail {

/// The text that vprintf() would print, with numbers as in the C locale whatever the locale of the process is.
std::string formatText(const char* format, std::va_list arguments) __attribute__((format(printf, 1, 0)));

}  // namespace quarn::detail
