#include "quarn/voxora/readers/SoLDMReader.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "quarn/base/McException.h"

namespace {

using hxvoxora::StoredTileKind;
using hxvoxora::TiledFileReader;

SoType& classType() {
  static SoType type;
  return type;
}

/// Copies rectangles of one slice, tile by tile, from a file into bytes.
class SliceCopy {
public:
  SliceCopy(const TiledFileReader& file, const SbBox2i32& box, int z, unsigned char* out)
      : file_(file), box_(box), z_(z), out_(out), bits_(file.header().tileBytes()) {}

  void run() {
    const McVec3i tile = file_.header().tileDimensions;
    for (int j = box_.getMin()[1] / tile.y; j <= box_.getMax()[1] / tile.y; ++j) {
      for (int i = box_.getMin()[0] / tile.x; i <= box_.getMax()[0] / tile.x; ++i) copyTile(i, j);
    }
  }

private:
  void copyTile(int i, int j) {
    const McVec3i size = file_.header().tileDimensions;
    const McVec3i tiles = file_.header().tilesPerAxis();
    const std::uint64_t number = (static_cast<std::uint64_t>(z_ / size.z) * static_cast<std::uint64_t>(tiles.y) +
                                  static_cast<std::uint64_t>(j)) *
                                     static_cast<std::uint64_t>(tiles.x) +
                                 static_cast<std::uint64_t>(i);
    const StoredTileKind kind = file_.kind(number);
    if (kind == StoredTileKind::stored) file_.read(number, bits_);
    const std::int64_t x0 = std::int64_t{i} * size.x, y0 = std::int64_t{j} * size.y;
    const std::int64_t xEnd = std::min<std::int64_t>(x0 + size.x, std::int64_t{box_.getMax()[0]} + 1);
    const std::int64_t yEnd = std::min<std::int64_t>(y0 + size.y, std::int64_t{box_.getMax()[1]} + 1);
    for (std::int64_t y = std::max<std::int64_t>(y0, box_.getMin()[1]); y < yEnd; ++y) {
      for (std::int64_t x = std::max<std::int64_t>(x0, box_.getMin()[0]); x < xEnd; ++x) {
        const bool set = kind == StoredTileKind::stored ? bit(x - x0, y - y0) : kind == StoredTileKind::one;
        out_[(y - box_.getMin()[1]) * width() + (x - box_.getMin()[0])] = set ? 1 : 0;
      }
    }
  }

  bool bit(std::int64_t x, std::int64_t y) const {
    const McVec3i size = file_.header().tileDimensions;
    const auto i = static_cast<std::size_t>((std::int64_t{z_ % size.z} * size.y + y) * size.x + x);
    return (std::to_integer<unsigned>(bits_[i / 8]) & 0x80u >> i % 8) != 0;
  }

  std::int64_t width() const { return std::int64_t{box_.getMax()[0]} - box_.getMin()[0] + 1; }

  const TiledFileReader& file_;
  const SbBox2i32 box_;
  const int z_;
  unsigned char* const out_;
  std::vector<std::byte> bits_;
};

}  // namespace

SoLDMReader::SoLDMReader() {
  initClass();
}

SoLDMReader::SoLDMReader(std::shared_ptr<const TiledFileReader> file) : file_(std::move(file)) {
  initClass();
}

SoLDMReader::~SoLDMReader() = default;

const hxvoxora::VolumeHeader* SoLDMReader::header() const {
  if (file_) return &file_->header();
  return header_ ? &*header_ : nullptr;
}

std::optional<std::string> SoLDMReader::findHeaderTag(std::string_view name) const {
  return header() ? header()->findTag(name) : std::nullopt;
}

void SoLDMReader::setHeader(std::optional<hxvoxora::VolumeHeader> header) {
  file_.reset();
  header_ = std::move(header);
}

bool SoLDMReader::getIsBuiltIn() const {
  return true;
}

SoType SoLDMReader::getTypeId() const {
  return getClassTypeId();
}

int SoLDMReader::getDataChar(SbBox3f& size, SoDataSet::DataType& type, SbVec3i32& dimension) {
  if (!header()) return 1;
  const McVec3i dimensions = header()->dimensions;
  size = SbBox3f(SbVec3f(0, 0, 0), SbVec3f(1, 1, 1));
  type = SoDataSet::UNSIGNED_BYTE;
  dimension = SbVec3i32(dimensions.x, dimensions.y, dimensions.z);
  return 0;
}

void SoLDMReader::getSubSlice(const SbBox2i32& subSlice, int sliceNumber, void* data) {
  if (!file_) throw McException("SoLDMReader: there is no open file to read a slice from");
  const SbVec2i32 low = subSlice.getMin();
  const SbBox2i32 box = low[0] > subSlice.getMax()[0] ? SbBox2i32(low, low) : subSlice;
  const McVec3i dimensions = file_->header().dimensions;
  const bool inside = low[0] >= 0 && low[1] >= 0 && sliceNumber >= 0 && box.getMax()[0] < dimensions.x &&
                      box.getMax()[1] < dimensions.y && sliceNumber < dimensions.z;
  if (!inside)
    throw McException(McException::excerpt(file_->path()) + ": slice " + std::to_string(sliceNumber) +
                      ": outside the volume");
  if (box.getMax()[1] >= low[1]) SliceCopy(*file_, box, sliceNumber, static_cast<unsigned char*>(data)).run();
}

void SoLDMReader::initClass() {
  const std::lock_guard lock(classMutex());
  SoVolumeReader::initClass();
  if (classType().isBad()) {
    classType() = SoType::createType(SoVolumeReader::getClassTypeId(), "SoLDMReader", &SoLDMReader::createInstance, 0);
  }
}

void SoLDMReader::exitClass() {
  const std::lock_guard lock(classMutex());
  SoType::removeType("SoLDMReader");
  classType() = SoType::badType();
}

SoType SoLDMReader::getClassTypeId() {
  const std::lock_guard lock(classMutex());
  return classType();
}

void* SoLDMReader::createInstance(SoType* /*type*/) {
  return static_cast<SoVolumeReader*>(new SoLDMReader);
}
