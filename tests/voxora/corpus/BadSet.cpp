#include "tests/voxora/corpus/BadSet.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/stat.h>

using hxvoxora::TileCompression;

namespace {

constexpr std::uint64_t generationOfA = 0x7d0c93a1b2f4e865;
constexpr std::uint64_t generationOfB = 0x1111111111111111;
constexpr std::size_t generationAt = 8;

std::string hexadecimal(std::uint64_t value) {
  char text[17];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(value));
  return text;
}

}  // namespace

BadSet::BadSet() {
  const auto sample = volumefiles::sampleHeader();
  const auto header = volumefiles::makeHeader(sample.dimensions, sample.tileDimensions, TileCompression::none);
  std::filesystem::create_directories(folder());
  std::filesystem::create_directories(root_.path() + "/other");
  writeSet("a", header, volumefiles::sampleTiles(1), generationOfA);
  writeSet("b", header, volumefiles::sampleTiles(2), generationOfB);
  write("../other/x.dat", read("a.dat"));
  write("../canary", volumefiles::toBytes("nobody reads this"));
}

std::string BadSet::header() const {
  return volumefiles::toText(read("a.ldm"));
}

void BadSet::setHeader(const std::string& text) {
  write("a.ldm", volumefiles::toBytes(text));
}

void BadSet::replaceInHeader(const std::string& from, const std::string& to) {
  std::string text = header();
  setHeader(text.replace(text.find(from), from.size(), to));
}

void BadSet::setElement(const std::string& name, const std::string& value) {
  std::string text = header();
  const std::size_t begin = text.find("<" + name + ">") + name.size() + 2;
  setHeader(text.replace(begin, text.find('<', begin) - begin, value));
}

void BadSet::append(const std::string& text) {
  replaceInHeader("</VolumeInformation>", text + "</VolumeInformation>");
}

void BadSet::editIndex(const std::function<void(Bytes&)>& edit, bool signAnew) {
  Bytes index = read("a.fcp");
  edit(index);
  if (signAnew) volumefiles::sign(index);
  write("a.fcp", index);
}

void BadSet::editData(const std::function<void(Bytes&)>& edit) {
  Bytes data = read("a.dat");
  edit(data);
  write("a.dat", data);
}

void BadSet::resize(const std::string& name, std::uint64_t bytes) {
  std::filesystem::resize_file(folder() + "/" + name, bytes);
}

void BadSet::remove(const std::string& name) {
  std::filesystem::remove(folder() + "/" + name);
}

void BadSet::replaceByFolder(const std::string& name) {
  remove(name);
  std::filesystem::create_directory(folder() + "/" + name);
}

void BadSet::replaceByPipe(const std::string& name) {
  remove(name);
  if (::mkfifo((folder() + "/" + name).c_str(), 0600) != 0) throw std::runtime_error("cannot make a pipe");
}

void BadSet::replaceByLink(const std::string& name, const std::string& target) {
  remove(name);
  std::filesystem::create_symlink(target, folder() + "/" + name);
}

void BadSet::storeTile(McVec3i dimensions, McVec3i tileDimensions, const Bytes& bytes, hxvoxora::TileForm form) {
  constexpr std::size_t dataLengthAt = 64, entryAt = 81, lengthAt = entryAt + 8, formAt = entryAt + 12;
  const auto header = volumefiles::makeHeader(dimensions, tileDimensions);
  volumefiles::Tiles tiles;
  tiles[0] = {hxvoxora::StoredTileKind::stored, volumefiles::maskBits(header, 0, 1)};
  writeSet("a", header, tiles, generationOfA);
  editData([&](Bytes& data) {
    data.resize(16);
    data.insert(data.end(), bytes.begin(), bytes.end());
  });
  editIndex([&](Bytes& index) {
    volumefiles::poke(index, dataLengthAt, 16 + bytes.size(), 8);
    volumefiles::poke(index, lengthAt, bytes.size(), 4);
    volumefiles::poke(index, formAt, static_cast<std::uint64_t>(form), 4);
    volumefiles::poke(index, formAt + 4, volumefiles::checksumOf(bytes), 8);
  });
}

BadSet::Bytes BadSet::read(const std::string& name) const {
  std::ifstream file(folder() + "/" + name, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  return volumefiles::toBytes(text);
}

void BadSet::write(const std::string& name, const Bytes& bytes) {
  std::ofstream file(folder() + "/" + name, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!file.flush()) throw std::runtime_error("cannot write " + name);
}

void BadSet::writeSet(const std::string& stem, const hxvoxora::VolumeHeader& header, const volumefiles::Tiles& tiles,
                      std::uint64_t generation) {
  hxvoxora::MemoryFileSystem files;
  volumefiles::write(files, stem + ".ldm", header, tiles);
  std::string text = volumefiles::toText(files.content(stem + ".ldm"));
  const std::size_t at = text.find("<Generation>") + std::string("<Generation>").size();
  write(stem + ".ldm", volumefiles::toBytes(text.replace(at, 16, hexadecimal(generation))));
  Bytes data = files.content(stem + ".dat"), index = files.content(stem + ".fcp");
  for (Bytes* bytes : {&data, &index}) volumefiles::poke(*bytes, generationAt, generation, 8);
  volumefiles::sign(index);
  write(stem + ".dat", data);
  write(stem + ".fcp", index);
}
