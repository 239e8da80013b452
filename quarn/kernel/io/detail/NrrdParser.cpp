#include "quarn/kernel/io/detail/NrrdParser.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "quarn/base/McException.h"
#include "quarn/kernel/io/detail/nrrdWords.h"

namespace quarn::detail {

namespace {

constexpr std::int64_t most64 = std::numeric_limits<std::int64_t>::max();
constexpr std::string_view blanks = " \t";

std::string_view trimmed(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  text.remove_suffix(text.size() - std::min(text.find_last_not_of(blanks) + 1, text.size()));
  return text;
}

template <class Number>
bool readNumber(std::string_view word, Number& number) {
  if (word.starts_with('+') && !word.starts_with("+-")) word.remove_prefix(1);
  const char* const end = word.data() + word.size();
  const auto [stopped, error] = std::from_chars(word.data(), end, number);
  return error == std::errc() && stopped == end;
}

std::string withoutEscapes(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char next = text[i] == '\\' && i + 1 < text.size() ? text[i + 1] : '\0';
    if (next == 'n' || next == '\\') {
      plain += next == 'n' ? '\n' : '\\';
      ++i;
    } else {
      plain += text[i];
    }
  }
  return plain;
}

/// "slice%03d.raw 1 20 1": names to be counted through.
bool isPattern(std::string_view name) {
  const std::size_t percent = name.find('%');
  return percent != std::string_view::npos && name.find_first_of(blanks, percent) != std::string_view::npos;
}

}  // namespace

std::string NrrdParser::lowered(std::string_view text) {
  std::string low(text);
  for (char& c : low)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return low;
}

NrrdParser::NrrdParser(std::string_view bytes, const QString& file)
    : bytes_(bytes.substr(0, NrrdHeader::maxBytes)), file_(file.toStdString()) {}

NrrdHeader NrrdParser::parse() {
  readMagic();
  readLines();
  interpret();
  return std::move(header_);
}

/// The next line without its end; false behind the last one.
bool NrrdParser::nextLine(std::string_view& line) {
  if (position_ >= bytes_.size()) return false;
  const std::size_t end = std::min(bytes_.find('\n', position_), bytes_.size());
  line = bytes_.substr(position_, end - position_);
  if (line.ends_with('\r')) line.remove_suffix(1);
  position_ = std::min(end + 1, bytes_.size());
  return true;
}

void NrrdParser::readMagic() {
  if (!bytes_.starts_with(nrrd::magic)) refuse("is not an NRRD file: it does not begin with \"NRRD000\"");
  std::string_view line;
  nextLine(line);
  const std::string_view version = line.substr(nrrd::magic.size());
  if (version.size() != 1 || version[0] < '1' || version[0] > '0' + nrrd::newestVersion)
    refuse("first line: NRRD0001 to NRRD0005 can be read, got \"" + McException::excerpt(line) + "\"");
  header_.version = version[0] - '0';
}

void NrrdParser::readLines() {
  std::string_view line;
  while (nextLine(line)) {
    if (line.empty()) {
      hasEnd_ = true;
      return;
    }
    if (!line.starts_with('#')) noteLine(line);
  }
  if (bytes_.size() == NrrdHeader::maxBytes)
    refuse("its header has no end within " + std::to_string(NrrdHeader::maxBytes) + " bytes");
}

void NrrdParser::noteLine(std::string_view line) {
  const std::size_t pair = line.find(":=");
  std::size_t field = line.find(": ");
  if (field == std::string_view::npos && line.ends_with(':')) field = line.size() - 1;
  if (pair == std::string_view::npos && field == std::string_view::npos)
    refuse("a line that is neither a field nor a key with a value: \"" + McException::excerpt(line) + "\"");
  if (pair < field) {
    header_.keyValues.emplace_back(withoutEscapes(line.substr(0, pair)), withoutEscapes(line.substr(pair + 2)));
  } else {
    noteField(line.substr(0, field), trimmed(line.substr(field + 1)));
  }
}

void NrrdParser::noteField(std::string_view name, std::string_view value) {
  // "Data File" and "datafile" are one field.
  const auto squeezed = [](std::string_view text) {
    std::string key = lowered(text);
    std::erase(key, ' ');
    return key;
  };
  const auto* const known =
      std::ranges::find_if(nrrd::fields, [&](auto field) { return squeezed(field) == squeezed(name); });
  if (known == std::end(nrrd::fields)) refuseField(std::string(name), "is not known", value);
  if (!fields_.emplace(*known, value).second) refuseField(std::string(name), "stands there twice", value);
}

void NrrdParser::interpret() {
  if (const std::string* const type = field("type"); type && lowered(*type) == "block")
    refuseField("type", "blocks cannot be read", *type);
  readDataFile();
  header_.type = chosen("type", nrrd::typeWords);
  readSizes();
  readSpace();
  readSpaceDirections();
  if (field("spacings"))
    for (const std::string_view word : words("spacings")) {
      double spacing = 0;
      if (!readNumber(word, spacing) || std::isinf(spacing))
        refuseField("spacings", "numbers or nan are expected", word);
      header_.spacings.push_back(spacing);
    }
  if (field("kinds"))
    for (const std::string_view word : words("kinds")) header_.kinds.push_back(lowered(word));
  for (const char* const name : {"space units", "units", "axis mins", "axis maxs", "centers", "centerings"})
    if (const std::string* const value = field(name)) header_.others.emplace(name, *value);
  readEncoding();
  header_.dataOffset = header_.dataFile.empty() ? position_ : 0;
}

void NrrdParser::readSizes() {
  const std::int64_t dimension = integer("dimension", 1, NrrdHeader::maxDimension);
  header_.sizes.resize(static_cast<std::size_t>(dimension));
  required("sizes");
  const std::vector<std::string_view> sizes = words("sizes");
  std::int64_t room = most64 / NrrdHeader::bytesOf(header_.type);
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    std::int64_t& size = header_.sizes[i];
    if (!readNumber(sizes[i], size) || size < 1) refuseField("sizes", "whole numbers from 1 on are expected", sizes[i]);
    room /= size;
  }
  if (room < 1) refuseField("sizes", "more bytes than can be counted", *field("sizes"));
}

void NrrdParser::readSpace() {
  const std::string* const name = field("space");
  if (name && field("space dimension")) refuseField("space dimension", "stands beside \"space\"", *name);
  if (field("space dimension")) {
    header_.spaceDimension = static_cast<int>(integer("space dimension", 1, NrrdHeader::maxDimension));
  } else if (name) {
    const std::string low = lowered(*name);
    const auto* const known =
        std::ranges::find_if(nrrd::spaces, [&](const auto& s) { return s.name == low || s.shortName == low; });
    if (known == std::end(nrrd::spaces)) refuseField("space", "is not known", *name);
    header_.space = known->name;
    header_.spaceDimension = known->dimension;
  }
  if (const std::string* const origin = field("space origin")) header_.spaceOrigin = vector("space origin", *origin);
}

void NrrdParser::readSpaceDirections() {
  const std::string* const text = field("space directions");
  if (!text) return;
  std::string_view rest = *text;
  while (!(rest = trimmed(rest)).empty()) {
    std::size_t length = std::min(rest.find_first_of(blanks), rest.size());
    if (rest.starts_with('(')) length = std::min(rest.find(')'), rest.size() - 1) + 1;
    const std::string_view word = rest.substr(0, length);
    rest.remove_prefix(length);
    if (lowered(word) == "none") {
      header_.spaceDirections.emplace_back();
    } else {
      header_.spaceDirections.emplace_back(vector("space directions", word));
    }
  }
  if (header_.spaceDirections.size() != header_.sizes.size())
    refuseField("space directions", std::to_string(header_.sizes.size()) + " vectors are expected", *text);
}

void NrrdParser::readEncoding() {
  header_.encoding = chosen("encoding", nrrd::encodingWords);
  if (field("endian")) header_.endian = chosen("endian", nrrd::endianWords);
  if (header_.encoding != NrrdHeader::Encoding::text && NrrdHeader::bytesOf(header_.type) > 1) required("endian");
  if (field("line skip")) header_.lineSkip = integer("line skip", 0, most64);
  if (field("byte skip")) header_.byteSkip = integer("byte skip", -1, most64);
  if (header_.byteSkip < 0 && header_.encoding != NrrdHeader::Encoding::raw)
    refuseField("byte skip", "stands beside an encoding that is not raw", *field("byte skip"));
}

void NrrdParser::readDataFile() {
  if (const std::string* const name = field("data file")) {
    if (name->empty()) refuseField("data file", "the name of a file is expected", *name);
    if (*name == "LIST" || name->starts_with("LIST ") || isPattern(*name))
      refuseField("data file", "data in several files cannot be read", *name);
    header_.dataFile = *name;
  } else if (!hasEnd_) {
    refuse("is cut: its header has no end");
  }
}

const std::string* NrrdParser::field(const std::string& name) const {
  const auto found = fields_.find(name);
  return found == fields_.end() ? nullptr : &found->second;
}

const std::string& NrrdParser::required(const std::string& name) const {
  const std::string* const value = field(name);
  if (!value) refuse("the field \"" + name + "\" is missing");
  return *value;
}

std::int64_t NrrdParser::integer(const std::string& name, std::int64_t least, std::int64_t most) const {
  const std::string& text = required(name);
  std::int64_t number = 0;
  if (!readNumber(std::string_view(text), number) || number < least || number > most)
    refuseField(name, "a whole number from " + std::to_string(least) + " to " + std::to_string(most) + " is expected",
                text);
  return number;
}

/// One word for each axis.
std::vector<std::string_view> NrrdParser::words(const std::string& name) const {
  const std::string& text = *field(name);
  std::vector<std::string_view> all;
  std::string_view rest = text;
  while (!(rest = trimmed(rest)).empty()) {
    all.push_back(rest.substr(0, rest.find_first_of(blanks)));
    rest.remove_prefix(all.back().size());
  }
  if (all.size() != header_.sizes.size())
    refuseField(name, std::to_string(header_.sizes.size()) + " words are expected", text);
  return all;
}

/// "(1,0,0)", as many finite numbers as the space has dimensions.
NrrdHeader::Vector NrrdParser::vector(const std::string& name, std::string_view text) const {
  const auto fail = [&] {
    refuseField(name, "a vector of " + std::to_string(header_.spaceDimension) + " numbers is expected", text);
  };
  if (header_.spaceDimension == 0) refuseField(name, "stands there without a space", text);
  std::string_view rest = trimmed(text);
  if (rest.size() < 2 || rest.front() != '(' || rest.back() != ')') fail();
  rest = rest.substr(1, rest.size() - 2);
  NrrdHeader::Vector numbers;
  for (bool hasMore = true; hasMore;) {
    const std::size_t comma = rest.find(',');
    hasMore = comma != std::string_view::npos;
    double number = 0;
    if (!readNumber(trimmed(rest.substr(0, comma)), number) || !std::isfinite(number)) fail();
    numbers.push_back(number);
    if (hasMore) rest.remove_prefix(comma + 1);
  }
  if (numbers.size() != static_cast<std::size_t>(header_.spaceDimension)) fail();
  return numbers;
}

void NrrdParser::refuse(const std::string& what) const {
  throw McException(McException::excerpt(file_) + ": " + what);
}

void NrrdParser::refuseField(const std::string& name, const std::string& what, std::string_view value) const {
  refuse("field \"" + McException::excerpt(name) + "\": " + what + ", got \"" + McException::excerpt(value) + "\"");
}

}  // namespace quarn::detail
