#pragma once

#include <QString>
#include <string_view>

namespace quarn::formats::detail {

/// A value of a file (UTF-8 or any bytes) as it stands in messages: in double quotes, cut at 200 characters.
QString quoted(std::string_view value);

/// @throws McException with the text "<place>: <what>". The place is a file, or a file and a line ("names.txt:12").
[[noreturn]] void refuse(const QString& place, const QString& what);

}  // namespace quarn::formats::detail
