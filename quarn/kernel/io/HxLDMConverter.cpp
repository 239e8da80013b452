#include "quarn/kernel/io/HxLDMConverter.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/voxora/files/BorderedVolumeReader.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/TiledFileWriter.h"
#include "quarn/voxora/files/copyWithoutBorders.h"
#include "quarn/voxora/files/fileSetParts.h"

namespace {

using hxvoxora::BorderedVolumeReader;
using hxvoxora::FileKind;
using hxvoxora::FileSystem;
using hxvoxora::TiledFileWriter;
using hxvoxora::VolumeHeader;

constexpr std::string_view kBlanks = " \t\r\n";

/// Six integers, xmin xmax ymin ymax zmin zmax; nothing for any other text.
std::optional<SbBox3i32> parseBox(std::string_view text) {
  SbVec3i32 low, high;
  for (int i = 0; i < 6; ++i) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
    std::int32_t& number = i % 2 == 0 ? low[i / 2] : high[i / 2];
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc() || end != word.data() + word.size()) return std::nullopt;
    text.remove_prefix(word.size());
  }
  if (text.find_first_not_of(kBlanks) != std::string_view::npos) return std::nullopt;
  return SbBox3i32(low, high);
}

SbBox3i32 volumeBox(const VolumeHeader& header) {
  return {{0, 0, 0}, {header.dimensions.x - 1, header.dimensions.y - 1, header.dimensions.z - 1}};
}

/// Hands the boxes of the old header on to the new one.
class BoxElements {
public:
  BoxElements(const VolumeHeader& header, const SbBox3i32& bounds, const std::string& path)
      : header_(header), bounds_(bounds), path_(path) {}

  void copyTo(TiledFileWriter& writer) const {
    copy("BoundingBox", writer, [this](const SbBox3i32& box) { return box == bounds_; });
    copy("ApproximatedBoundingBox", writer, [this](const SbBox3i32& box) {
      return box == bounds_ || (!box.isEmpty() && volumeBox(header_).contains(box) && box.contains(bounds_));
    });
  }

private:
  template <class IsSound>
  void copy(const char* name, TiledFileWriter& writer, IsSound isSound) const {
    const std::optional<std::string> text = header_.findTag(name);
    if (!text) return;
    const std::optional<SbBox3i32> box = parseBox(*text);
    if (box && isSound(*box)) return writer.addElement(name, *text);
    HxMessage::printf("%s: element %s \"%s\": not the box of these voxels; left out",
                      McException::excerpt(path_).c_str(), name, McException::excerpt(*text).c_str());
  }

  const VolumeHeader& header_;
  const SbBox3i32 bounds_;
  const std::string& path_;
};

void refuseExisting(FileSystem& files, const std::string& path, const VolumeHeader& header) {
  const std::string folder = path.substr(0, path.rfind('/') + 1);
  for (const std::string& file : {path, folder + header.dataFile, folder + header.indexFile}) {
    if (files.kind(file) == FileKind::missing) continue;
    throw McException(McException::excerpt(file) + ": exists already and is not replaced");
  }
}

}  // namespace

bool HxLDMConverter::updateToUlx9(const McFilename& from, const McFilename& to, bool replaceExisting,
                                  const hxvoxora::WorkCallback& callback) {
  FileSystem& files = FileSystem::current();
  const auto reader = BorderedVolumeReader::open(files, from.text());
  VolumeHeader header = reader->header();
  header.compression = hxvoxora::TileCompression::gzip;
  TiledFileWriter writer(files, to.text(), header, FileSystem::Access::byMask);
  if (!replaceExisting) refuseExisting(files, to.text(), writer.header());
  writer.requireSpace(hxvoxora::fileSetBytes(files, from.text()));
  const std::optional<SbBox3i32> bounds = hxvoxora::copyWithoutBorders(*reader, writer, callback);
  if (!bounds) return false;
  BoxElements(reader->header(), *bounds, from.text()).copyTo(writer);
  writer.commit();
  return true;
}
