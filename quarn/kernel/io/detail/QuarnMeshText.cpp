#include "quarn/kernel/io/detail/QuarnMeshText.h"

#include <charconv>

namespace quarn::detail::mesh {
namespace {

bool isContinuation(std::string_view bytes, std::size_t i) {
  return i < bytes.size() && (static_cast<unsigned char>(bytes[i]) & 0xC0) == 0x80;
}

/// Length of the well-formed UTF-8 sequence at `i`, 0 when there is none.
std::size_t sequenceLength(std::string_view bytes, std::size_t i) {
  const auto lead = static_cast<unsigned char>(bytes[i]);
  const auto second = i + 1 < bytes.size() ? static_cast<unsigned char>(bytes[i + 1]) : 0;
  if (lead < 0x80) return 1;
  if (lead < 0xC2 || lead > 0xF4 || !isContinuation(bytes, i + 1)) return 0;
  if (lead < 0xE0) return 2;
  const bool overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
  const bool outside = (lead == 0xED && second > 0x9F) || (lead == 0xF4 && second > 0x8F);
  if (overlong || outside || !isContinuation(bytes, i + 2)) return 0;
  if (lead < 0xF0) return 3;
  return isContinuation(bytes, i + 3) ? 4 : 0;
}

void appendHex(std::string& text, char c) {
  constexpr char digits[] = "0123456789abcdef";
  const auto byte = static_cast<unsigned char>(c);
  text += "\\x";
  text += digits[byte >> 4];
  text += digits[byte & 15];
}

void appendAscii(std::string& text, char c) {
  switch (c) {
    case '"':
      text += "\\\"";
      break;
    case '\\':
      text += "\\\\";
      break;
    case '\n':
      text += "\\n";
      break;
    case '\r':
      text += "\\r";
      break;
    case '\t':
      text += "\\t";
      break;
    default:
      if (c < 0x20 || c == 0x7F) {
        appendHex(text, c);
      } else {
        text += c;
      }
  }
}

/// Reads what follows a backslash.
const char* readEscape(std::string_view& rest, std::string& bytes) {
  if (rest.empty()) return "a text does not end on its line";
  const char kind = rest.front();
  rest.remove_prefix(1);
  switch (kind) {
    case '"':
      bytes += '"';
      return nullptr;
    case '\\':
      bytes += '\\';
      return nullptr;
    case 'n':
      bytes += '\n';
      return nullptr;
    case 'r':
      bytes += '\r';
      return nullptr;
    case 't':
      bytes += '\t';
      return nullptr;
    default:
      break;
  }
  unsigned char byte = 0;
  if (kind != 'x' || rest.size() < 2) return "there is a wrong escape";
  const auto [end, error] = std::from_chars(rest.data(), rest.data() + 2, byte, 16);
  if (error != std::errc() || end != rest.data() + 2) return "there is a wrong escape";
  bytes += static_cast<char>(byte);
  rest.remove_prefix(2);
  return nullptr;
}

}  // namespace

std::string quoted(std::string_view bytes) {
  std::string text = "\"";
  for (std::size_t i = 0; i < bytes.size();) {
    const std::size_t length = sequenceLength(bytes, i);
    if (length == 1) {
      appendAscii(text, bytes[i]);
    } else if (length == 0) {
      appendHex(text, bytes[i]);
    } else {
      text += bytes.substr(i, length);
    }
    i += length ? length : 1;
  }
  return text += '"';
}

const char* readQuoted(std::string_view& rest, std::string& bytes) {
  if (!rest.starts_with('"')) return "a text in quotes is expected";
  rest.remove_prefix(1);
  bytes.clear();
  while (!rest.empty()) {
    const char c = rest.front();
    rest.remove_prefix(1);
    if (c == '"') return nullptr;
    if (c != '\\') {
      bytes += c;
    } else if (const char* wrong = readEscape(rest, bytes)) {
      return wrong;
    }
  }
  return "a text does not end on its line";
}

}  // namespace quarn::detail::mesh
