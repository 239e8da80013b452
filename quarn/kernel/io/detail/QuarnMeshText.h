#pragma once

#include <string>
#include <string_view>

/// The words of the text form that writer and parser share. docs/format/quarnmesh.md describes them.
namespace quarn::detail::mesh {

inline constexpr std::string_view headerStart = "# QuarnMesh ";
inline constexpr std::string_view version = "1";
inline constexpr std::string_view textForm = "text";
inline constexpr std::string_view flavours[] = {"quarnmesh", "zelto", "mivro"};
inline constexpr std::string_view rootName = "parameters";
inline constexpr std::string_view checksumStart = "# sha256 ";

/// `bytes` between quotes, with escapes; always valid UTF-8 on one line.
std::string quoted(std::string_view bytes);

/// Reads a quoted text from the start of `rest` and moves `rest` behind it. Returns what is wrong with it, or null.
const char* readQuoted(std::string_view& rest, std::string& bytes);

}  // namespace quarn::detail::mesh
