#include "quarn/base/McException.h"

#include <cstddef>

namespace {

constexpr std::size_t kMaxCharacters = 200;
constexpr std::size_t kMaxBytesOfCharacter = 4;

bool continuesCharacter(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

bool isControl(char byte) {
  return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F;
}

}  // namespace

McException::McException(const std::string& text) : std::runtime_error(text) {}

McException::~McException() = default;

std::string McException::excerpt(std::string_view value) {
  std::string result;
  std::size_t characters = 0;
  std::size_t bytesOfCharacter = kMaxBytesOfCharacter;
  for (const char byte : value) {
    // Text that is not UTF-8 must not grow without end either.
    const bool continues = continuesCharacter(byte) && bytesOfCharacter < kMaxBytesOfCharacter;
    bytesOfCharacter = continues ? bytesOfCharacter + 1 : 1;
    if (!continues && ++characters > kMaxCharacters) return result + "...";
    result += isControl(byte) ? ' ' : byte;
  }
  return result;
}
