#include "quarn/voxora/files/VolumeHeader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <memory>
#include <pugixml.hpp>
#include <span>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/detail/xmlCheck.h"
#include "quarn/voxora/files/fileNames.h"

namespace hxvoxora {

namespace {

using Tags = std::vector<std::pair<std::string, std::string>>;

constexpr std::string_view rootName = "VolumeInformation";
constexpr int formatVersion = 1;

[[noreturn]] void refuse(const std::string& path, std::string_view element, std::string_view value,
                         const std::string& reason) {
  throw McException(McException::excerpt(path) + ": element " + std::string(element) + " \"" +
                    McException::excerpt(value) + "\": " + reason);
}

std::string vectorText(const McVec3i& v) {
  return std::to_string(v.x) + " " + std::to_string(v.y) + " " + std::to_string(v.z);
}

bool isText(const pugi::xml_node& node) {
  return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

std::string textOf(const pugi::xml_node& element) {
  std::string text;
  for (const pugi::xml_node& child : element) {
    if (isText(child)) text += child.value();
  }
  return text;
}

/// Name and text of the direct children of the root.
Tags readTags(std::string_view text, const std::string& path) {
  pugi::xml_document document;
  constexpr unsigned options = pugi::parse_default | pugi::parse_ws_pcdata_single;
  const pugi::xml_parse_result result = document.load_buffer(text.data(), text.size(), options, pugi::encoding_utf8);
  if (!result) {
    throw McException(McException::excerpt(path) + ": not a valid header: " + result.description() + " (byte " +
                      std::to_string(result.offset) + ")");
  }
  const pugi::xml_node root = document.document_element();
  if (root.name() != rootName) {
    throw McException(McException::excerpt(path) + ": the root element is \"" + McException::excerpt(root.name()) +
                      "\", not " + std::string(rootName));
  }
  Tags tags;
  for (const pugi::xml_node& child : root) {
    if (child.type() == pugi::node_element) tags.emplace_back(child.name(), textOf(child));
    if (isText(child) && std::string_view(child.value()).find_first_not_of(detail::xmlBlanks) != std::string::npos) {
      refuse(path, rootName, child.value(), "text beside the child elements");
    }
  }
  return tags;
}

/// Access to the elements that this format defines; each may stand once.
class ElementReader {
public:
  ElementReader(const Tags& tags, const std::string& path) : tags_(tags), path_(path) {}

  /// The text as it stands; nullptr when there is no such element.
  const std::string* find(std::string_view name) const {
    const std::string* found = nullptr;
    for (const auto& [tagName, text] : tags_) {
      if (tagName != name) continue;
      if (found) refuse(path_, name, text, "occurs twice");
      found = &text;
    }
    return found;
  }

  const std::string& text(std::string_view name) const {
    if (const std::string* found = find(name)) return *found;
    throw McException(McException::excerpt(path_) + ": element " + std::string(name) + " is missing");
  }

  /// The text without blanks around it.
  std::string_view word(std::string_view name) const {
    std::string_view word = text(name);
    word.remove_prefix(std::min(word.find_first_not_of(detail::xmlBlanks), word.size()));
    return word.substr(0, word.find_last_not_of(detail::xmlBlanks) + 1);
  }

  int number(std::string_view name) const { return numbers<1>(name)[0]; }

  McVec3i vector(std::string_view name) const {
    const auto values = numbers<3>(name);
    return {values[0], values[1], values[2]};
  }

private:
  template <std::size_t Count>
  std::array<int, Count> numbers(std::string_view name) const {
    std::array<int, Count> values{};
    std::string_view rest = word(name);
    for (int& value : values) {
      const std::string_view token = rest.substr(0, rest.find_first_of(detail::xmlBlanks));
      value = wholeNumber(name, token);
      rest.remove_prefix(token.size());
      rest.remove_prefix(std::min(rest.find_first_not_of(detail::xmlBlanks), rest.size()));
    }
    if (!rest.empty()) refuse(path_, name, text(name), "more than " + std::to_string(Count) + " number(s)");
    return values;
  }

  int wholeNumber(std::string_view name, std::string_view token) const {
    if (token.empty()) refuse(path_, name, text(name), "a number is missing");
    if (token.find_first_not_of("0123456789") != std::string_view::npos) {
      refuse(path_, name, text(name), "\"" + McException::excerpt(token) + "\" is not a number from 0 on");
    }
    int value = 0;
    const auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), value);
    if (error != std::errc()) refuse(path_, name, text(name), "a number is above 2147483647");
    return value;
  }

  const Tags& tags_;
  const std::string& path_;
};

TileCompression parseCompression(const ElementReader& elements, const std::string& path) {
  const std::string_view word = elements.word("Compression");
  if (word == "gzip") return TileCompression::gzip;
  if (word == "none") return TileCompression::none;
  refuse(path, "Compression", word, "unknown; known are gzip and none");
}

std::uint64_t parseGeneration(const ElementReader& elements, const std::string& path) {
  const std::string_view word = elements.word("Generation");
  const bool digits = word.size() == 16 && word.find_first_not_of("0123456789abcdef") == std::string_view::npos;
  if (!digits) refuse(path, "Generation", word, "not 16 digits 0-9, a-f");
  std::uint64_t generation = 0;
  std::from_chars(word.data(), word.data() + word.size(), generation, 16);
  return generation;
}

void checkTileDimensions(const McVec3i& tile, const std::string& path) {
  for (int axis = 0; axis < 3; ++axis) {
    const int size = tile[axis];
    const bool fits = size >= (axis == 0 ? 32 : 8) && size <= 256 && std::has_single_bit(static_cast<unsigned>(size));
    if (!fits) refuse(path, "TileDimensions", vectorText(tile), "not powers of two from 8 to 256, the first from 32");
  }
}

/// ceil(size / 2^level) of a size of at least 1.
int halved(int size, int level) {
  return ((size - 1) >> level) + 1;
}

void checkFileName(const std::string& path, std::string_view element, const std::string& name) {
  const std::string objection = nameObjection(name);
  if (!objection.empty()) refuse(path, element, name, objection);
  if (name == bareName(path)) refuse(path, element, name, "the header itself");
}

std::string escaped(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (c == '&') {
      result += "&amp;";
    } else if (c == '<') {
      result += "&lt;";
    } else if (c == '>') {
      result += "&gt;";
    } else {
      result += c;
    }
  }
  return result;
}

}  // namespace

VolumeHeader VolumeHeader::parse(std::string_view text, const std::string& path) {
  VolumeHeader header;
  header.tags_ = readTags(detail::checkXml(text, maxTextBytes, path), path);
  const ElementReader elements(header.tags_, path);
  if (const auto version = elements.word("FormatVersion"); version != std::to_string(formatVersion)) {
    refuse(path, "FormatVersion", version, "only version " + std::to_string(formatVersion) + " is known");
  }
  header.dimensions = elements.vector("Dimensions");
  header.tileDimensions = elements.vector("TileDimensions");
  if (const auto type = elements.word("VoxelType"); type != "bit") refuse(path, "VoxelType", type, "not bit");
  header.levels = elements.number("Levels");
  if (elements.find("TileBorder")) header.border = elements.number("TileBorder");
  header.compression = parseCompression(elements, path);
  header.dataFile = elements.text("DataFile");
  header.indexFile = elements.text("IndexFile");
  header.generation = parseGeneration(elements, path);
  const std::optional<std::string> name = header.findTag("Name");
  if (name && isContentName(*name)) header.contentName = *name;
  header.validate(path);
  return header;
}

std::string VolumeHeader::readText(FileSystem& fileSystem, const std::string& path) {
  const std::unique_ptr<InputFile> file = fileSystem.openForReading(path, FileSystem::Links::follow);
  // One byte more than allowed is enough for parse() to refuse a file that is too long.
  std::string text(static_cast<std::size_t>(std::min(file->identity().size, maxTextBytes + 1)), '\0');
  text.resize(file->readAt(0, std::as_writable_bytes(std::span(text))));
  return text;
}

VolumeHeader VolumeHeader::read(FileSystem& fileSystem, const std::string& path) {
  return parse(readText(fileSystem, path), path);
}

void VolumeHeader::validate(const std::string& path) const {
  for (int axis = 0; axis < 3; ++axis) {
    if (dimensions[axis] < 1) refuse(path, "Dimensions", vectorText(dimensions), "not from 1 to 2147483647");
  }
  checkTileDimensions(tileDimensions, path);
  if (const int most = maxLevels(dimensions, tileDimensions); levels < 1 || levels > most) {
    refuse(path, "Levels", std::to_string(levels), "not from 1 to " + std::to_string(most));
  }
  const McVec3i tiles = tilesPerAxis();
  const std::uint64_t layer = static_cast<std::uint64_t>(tiles.x) * static_cast<std::uint64_t>(tiles.y);
  if (layer > maxTiles / static_cast<std::uint64_t>(tiles.z)) {
    refuse(path, "Dimensions", vectorText(dimensions),
           "more than " + std::to_string(maxTiles) + " tiles of " + vectorText(tileDimensions));
  }
  const int smallest = std::min({tileDimensions.x, tileDimensions.y, tileDimensions.z});
  if (border < 0 || border > smallest / 2) {
    refuse(path, "TileBorder", std::to_string(border), "not from 0 to half the smallest tile dimension");
  }
  checkFileName(path, "DataFile", dataFile);
  checkFileName(path, "IndexFile", indexFile);
  if (dataFile == indexFile) refuse(path, "IndexFile", indexFile, "also named as DataFile");
  if (generation == 0) refuse(path, "Generation", generationText(generation), "is 0");
}

bool VolumeHeader::isContentName(std::string_view name) {
  constexpr std::string_view allowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-";
  return !name.empty() && name.size() <= 255 && name.find_first_not_of(allowed) == std::string_view::npos;
}

std::string VolumeHeader::toXml(const std::vector<Element>& further) const {
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<" + std::string(rootName) + ">\n";
  const auto add = [&](const std::string& name, const std::string& value) {
    text += " <" + name + ">" + escaped(value) + "</" + name + ">\n";
  };
  add("FormatVersion", std::to_string(formatVersion));
  add("Dimensions", vectorText(dimensions));
  add("TileDimensions", vectorText(tileDimensions));
  add("VoxelType", "bit");
  add("Levels", std::to_string(levels));
  if (border != 0) add("TileBorder", std::to_string(border));
  add("Compression", compression == TileCompression::gzip ? "gzip" : "none");
  if (!contentName.empty()) add("Name", contentName);
  add("DataFile", dataFile);
  add("IndexFile", indexFile);
  add("Generation", generationText(generation));
  for (const auto& [name, value] : further) add(name, value);
  return text + "</" + std::string(rootName) + ">\n";
}

std::optional<std::string> VolumeHeader::findTag(std::string_view name) const {
  std::optional<std::string> found;
  for (const auto& [tagName, text] : tags_) {
    if (tagName != name) continue;
    if (found && *found != text) return std::nullopt;
    found = text;
  }
  return found;
}

int VolumeHeader::maxLevels(const McVec3i& dimensions, const McVec3i& tileDimensions) {
  int levels = 1;
  for (int axis = 0; axis < 3; ++axis) {
    int size = dimensions[axis];
    int axisLevels = 1;
    for (; size > tileDimensions[axis]; ++axisLevels) size = halved(size, 1);
    levels = std::max(levels, axisLevels);
  }
  return levels;
}

McVec3i VolumeHeader::levelDimensions(int level) const {
  return {halved(dimensions.x, level), halved(dimensions.y, level), halved(dimensions.z, level)};
}

McVec3i VolumeHeader::tilesPerAxis(int level) const {
  const McVec3i size = levelDimensions(level);
  const auto count = [&](int axis) { return (size[axis] - 1) / tileDimensions[axis] + 1; };
  return {count(0), count(1), count(2)};
}

std::uint64_t VolumeHeader::levelTileCount(int level) const {
  const McVec3i tiles = tilesPerAxis(level);
  return static_cast<std::uint64_t>(tiles.x) * static_cast<std::uint64_t>(tiles.y) *
         static_cast<std::uint64_t>(tiles.z);
}

std::uint64_t VolumeHeader::levelFirstTile(int level) const {
  std::uint64_t first = 0;
  for (int below = 0; below < level; ++below) first += levelTileCount(below);
  return first;
}

int VolumeHeader::levelOf(std::uint64_t tile) const {
  int level = 0;
  for (; level + 1 < levels && tile >= levelTileCount(level); ++level) tile -= levelTileCount(level);
  return level;
}

std::uint64_t VolumeHeader::tileCount() const {
  return levelFirstTile(levels);
}

std::uint64_t VolumeHeader::tileBytes() const {
  return static_cast<std::uint64_t>(tileDimensions.x) * static_cast<std::uint64_t>(tileDimensions.y) *
         static_cast<std::uint64_t>(tileDimensions.z) / 8;
}

McVec3i VolumeHeader::storedTileDimensions() const {
  return {tileDimensions.x + 2 * border, tileDimensions.y + 2 * border, tileDimensions.z + 2 * border};
}

std::uint64_t VolumeHeader::storedTileBytes() const {
  const McVec3i size = storedTileDimensions();
  return static_cast<std::uint64_t>(size.x) * static_cast<std::uint64_t>(size.y) * static_cast<std::uint64_t>(size.z) /
         8;
}

McVec3i VolumeHeader::tileExtent(std::uint64_t tile) const {
  const int level = levelOf(tile);
  const McVec3i size = levelDimensions(level);
  const McVec3i tiles = tilesPerAxis(level);
  std::uint64_t place = tile - levelFirstTile(level);
  McVec3i extent;
  for (int axis = 0; axis < 3; ++axis) {
    const auto perAxis = static_cast<std::uint64_t>(tiles[axis]);
    const auto first = static_cast<std::int64_t>(place % perAxis) * tileDimensions[axis];
    extent[axis] = static_cast<int>(std::min<std::int64_t>(tileDimensions[axis], size[axis] - first));
    place /= perAxis;
  }
  return extent;
}

}  // namespace hxvoxora
