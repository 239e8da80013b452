#include "quarn/voxora/files/detail/xmlCheck.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

#include "quarn/base/McException.h"

namespace hxvoxora::detail {

namespace {

constexpr std::size_t npos = std::string_view::npos;
constexpr int maxDepth = 64;

/// Bytes of the sequence at the beginning of `text`, 0 when it is not valid.
std::size_t utf8SequenceLength(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  if (byte(0) < 0x80) return 1;
  const std::size_t length = byte(0) >= 0xF0 ? 4 : byte(0) >= 0xE0 ? 3 : 2;
  if (byte(0) < 0xC2 || byte(0) > 0xF4 || text.size() < length) return 0;
  std::uint32_t code = byte(0) & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
    code = code << 6 | (byte(i) & 0x3Fu);
  }
  const bool shortest = code >= (length == 4 ? 0x10000u : length == 3 ? 0x800u : 0x80u);
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  return shortest && !surrogate && code <= 0x10FFFF ? length : 0;
}

bool isForbiddenCharacter(std::uint32_t code) {
  return (code < 0x20 && code != '\t' && code != '\n' && code != '\r') || code == 0xFFFE || code == 0xFFFF ||
         (code >= 0xD800 && code <= 0xDFFF) || code > 0x10FFFF;
}

bool equalsIgnoringCase(std::string_view text, std::string_view lower) {
  if (text.size() != lower.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if ((c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c) != lower[i]) return false;
  }
  return true;
}

/// One pass over the markup of a text.
class XmlScanner {
public:
  XmlScanner(std::string_view text, const std::string& path) : text_(text), path_(path) {}

  void scan() {
    while (position_ < text_.size()) {
      const std::size_t markup = std::min(text_.find('<', position_), text_.size());
      scanText(markup);
      if (position_ < text_.size()) scanMarkup();
    }
    if (roots_ == 0) fail("no element");
    if (depth_ > 0) fail("an element is not closed");
  }

private:
  [[noreturn]] void fail(const std::string& reason) const {
    throw McException(McException::excerpt(path_) + ": not a valid header: " + reason + " (byte " +
                      std::to_string(position_) + ")");
  }

  bool startsWith(std::string_view prefix) const { return text_.substr(position_).starts_with(prefix); }

  /// Moves behind the next `end`, searched from `skip` bytes further on.
  void skipPast(std::string_view end, std::size_t skip, const char* what) {
    const std::size_t found = text_.find(end, position_ + skip);
    if (found == npos) fail(std::string(what) + " is not closed");
    position_ = found + end.size();
  }

  void scanText(std::size_t end) {
    const std::string_view piece = text_.substr(position_, end - position_);
    if (depth_ == 0 && piece.find_first_not_of(xmlBlanks) != npos) fail("text outside the root element");
    scanReferences(end);
  }

  /// Checks the entity references up to `end` and moves there.
  void scanReferences(std::size_t end) {
    // Never looks behind `end`: many short pieces would each search the whole rest.
    const std::string_view piece = text_.substr(0, end);
    for (;;) {
      const std::size_t found = piece.find('&', position_);
      if (found == npos) break;
      position_ = found;
      const std::size_t semicolon = piece.find(';', found);
      if (semicolon == npos) fail("an entity is not closed");
      checkReference(text_.substr(found + 1, semicolon - found - 1));
      position_ = semicolon + 1;
    }
    position_ = end;
  }

  void checkReference(std::string_view name) const {
    if (name == "lt" || name == "gt" || name == "amp" || name == "quot" || name == "apos") return;
    if (!name.starts_with('#')) fail("entity \"" + McException::excerpt(name) + "\"");
    const bool hexadecimal = name.starts_with("#x");
    const std::string_view digits = name.substr(hexadecimal ? 2 : 1);
    std::uint32_t code = 0;
    const char* end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, code, hexadecimal ? 16 : 10);
    if (error != std::errc() || rest != end || isForbiddenCharacter(code)) {
      fail("character reference \"" + McException::excerpt(name) + "\"");
    }
  }

  void scanMarkup() {
    if (startsWith("<!--")) {
      skipPast("-->", 4, "a comment");
    } else if (startsWith("<![CDATA[")) {
      if (depth_ == 0) fail("text outside the root element");
      skipPast("]]>", 9, "a CDATA section");
    } else if (startsWith("<!")) {
      fail("declarations (\"<!\") are not allowed");
    } else if (startsWith("<?")) {
      scanInstruction();
    } else {
      scanTag();
    }
  }

  /// The XML declaration at the beginning; there are no other instructions.
  void scanInstruction() {
    const std::size_t begin = position_;
    if (begin != 0) fail("instructions (\"<?\") are only allowed at the beginning");
    skipPast("?>", 2, "a processing instruction");
    const std::string_view content = text_.substr(2, position_ - 4);
    const bool declaration = content.starts_with("xml") && content.size() > 3 && xmlBlanks.find(content[3]) != npos;
    if (!declaration) fail("an instruction that is not the XML declaration");
    checkDeclaration(content.substr(3));
  }

  /// The name="value" pairs of the XML declaration: version 1.0, encoding UTF-8, standalone whatever it says.
  void checkDeclaration(std::string_view rest) const {
    for (;;) {
      const std::size_t nameBegin = rest.find_first_not_of(xmlBlanks);
      if (nameBegin == npos) return;
      const std::size_t equals = rest.find('=', nameBegin);
      const std::size_t open = equals == npos ? npos : rest.find_first_not_of(xmlBlanks, equals + 1);
      const bool quoted = open != npos && (rest[open] == '"' || rest[open] == '\'');
      const std::size_t close = quoted ? rest.find(rest[open], open + 1) : npos;
      if (close == npos) fail("XML declaration");
      std::string_view name = rest.substr(nameBegin, equals - nameBegin);
      name = name.substr(0, name.find_first_of(xmlBlanks));
      const std::string_view value = rest.substr(open + 1, close - open - 1);
      const bool known = (name == "version" && value == "1.0") ||
                         (name == "encoding" && equalsIgnoringCase(value, "utf-8")) || name == "standalone";
      if (!known) {
        fail("XML declaration: " + McException::excerpt(name) + " \"" + McException::excerpt(value) + "\"");
      }
      rest.remove_prefix(close + 1);
    }
  }

  void scanTag() {
    const bool closing = startsWith("</");
    const std::size_t end = findTagEnd();
    const bool empty = !closing && text_[end - 1] == '/';
    if (closing) {
      if (--depth_ < 0) fail("an end tag without an element");
    } else {
      if (depth_ == 0 && ++roots_ > 1) fail("a second root element");
      if (depth_ == maxDepth) fail("nested deeper than " + std::to_string(maxDepth) + " elements");
      depth_ += empty ? 0 : 1;
    }
    scanReferences(end + 1);
  }

  /// Position of the ">" of the tag that begins here; ">" in attribute values does not count.
  std::size_t findTagEnd() const {
    char quote = 0;
    for (std::size_t i = position_ + 1; i < text_.size(); ++i) {
      const char c = text_[i];
      if (c == '<') break;
      if (c == quote) {
        quote = 0;
      } else if (quote == 0 && (c == '"' || c == '\'')) {
        quote = c;
      } else if (quote == 0 && c == '>') {
        return i;
      }
    }
    fail("a tag is not closed");
  }

  std::string_view text_;
  const std::string& path_;
  std::size_t position_ = 0;
  int depth_ = 0;
  int roots_ = 0;
};

void checkCharacters(std::string_view text, const std::string& path) {
  if (const std::size_t bad = findInvalidUtf8(text); bad != npos) {
    throw McException(McException::excerpt(path) + ": not a valid header: not UTF-8 (byte " + std::to_string(bad) +
                      ")");
  }
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto code = static_cast<unsigned char>(text[i]);
    if (code < 0x80 && isForbiddenCharacter(code)) {
      throw McException(McException::excerpt(path) + ": not a valid header: control character " + std::to_string(code) +
                        " (byte " + std::to_string(i) + ")");
    }
  }
}

}  // namespace

std::size_t findInvalidUtf8(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t length = utf8SequenceLength(text.substr(i));
    if (length == 0) return i;
    i += length;
  }
  return npos;
}

std::string_view checkXml(std::string_view text, std::size_t maxBytes, const std::string& path) {
  if (text.size() > maxBytes) {
    throw McException(McException::excerpt(path) + ": not a valid header: longer than " + std::to_string(maxBytes) +
                      " bytes");
  }
  if (text.empty()) throw McException(McException::excerpt(path) + ": not a valid header: the file is empty");
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  checkCharacters(text, path);
  XmlScanner(text, path).scan();
  return text;
}

}  // namespace hxvoxora::detail
