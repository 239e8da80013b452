#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "quarn/base/export.h"

/// A failure with a text for the user. The text names the file, element or field concerned, and the value at fault.
/// Copies never throw.
class QUARN_BASE_API McException : public std::runtime_error {
public:
  /// `text` is UTF-8, as is what().
  explicit McException(const std::string& text);
  McException(const McException&) noexcept = default;
  McException& operator=(const McException&) noexcept = default;
  ~McException() override;

  /// `value` as it goes into a text: at most 200 characters (UTF-8 sequences stay whole; "..." marks a cut), and every
  /// control character replaced by a space.
  static std::string excerpt(std::string_view value);
};
