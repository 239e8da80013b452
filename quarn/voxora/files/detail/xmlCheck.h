#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace hxvoxora::detail {

/// Refuses texts that are not fit for an XML parser that builds a tree: longer than `maxBytes`, nested too deep, with
/// a document type declaration or entities of their own, with several roots or none, in another encoding than UTF-8,
/// with control characters. Works in one pass, without allocating. Throws McException naming `path`, the reason and
/// the byte. What is left for the parser to find: names of end tags, attributes.
///
/// Returns the text without a byte order mark.
std::string_view checkXml(std::string_view text, std::size_t maxBytes, const std::string& path);

/// Offset of the first byte that is not part of a valid UTF-8 sequence; npos when there is none.
std::size_t findInvalidUtf8(std::string_view text);

/// Space, tab, line feed, carriage return.
constexpr std::string_view xmlBlanks = " \t\n\r";

}  // namespace hxvoxora::detail
