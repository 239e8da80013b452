#include "roitools/exchange/LayeredImage.h"

#include <QFile>
#include <algorithm>
#include <limits>
#include <span>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/soundLattice.h"
#include "quarn/kernel/io/nrrdPlace.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/byteCodec.h"

namespace roitools {

using hxvoxora::FileSystem;
using quarn::ByteStream;
using quarn::NrrdHeader;

namespace {

constexpr std::int64_t slabBytes = 4 << 20;
constexpr std::int64_t mostRowBytes = 256 << 20;
constexpr std::int64_t mostLayers = 65536;

}  // namespace

LayeredImage::LayeredImage(const QString& file) : file_(file), header_(NrrdHeader::read(file)) {
  requireLabels();
  readAxes();
  openData();
  const std::int64_t rowBytes = grid_.x * layerCount_ * NrrdHeader::bytesOf(header_.type);
  slabs_ = std::make_unique<Slabs>(rowBytes, grid_.y, grid_.z, slabBytes);
}

void LayeredImage::requireLabels() const {
  if (header_.type == NrrdHeader::Type::float32 || header_.type == NrrdHeader::Type::float64)
    refuseField("type", "labels are whole numbers", NrrdHeader::nameOf(header_.type));
  for (const char* key : {"Segmentation_MasterRepresentation", "Segmentation_SourceRepresentation"}) {
    const std::string* const representation = header_.find(key);
    if (representation && representation->find("Fractional") != std::string::npos)
      refuse(file_, std::string("key \"") + key + "\": only labels can be read, got \"" +
                        McException::excerpt(*representation) + "\"");
  }
}

void LayeredImage::readAxes() {
  const std::size_t axes = header_.sizes.size();
  if (axes != 3 && axes != 4) refuseField("dimension", "3 or 4 is expected", std::to_string(axes));
  if (axes == 4) {
    const std::string kind = header_.kinds.empty() ? "???" : header_.kinds.front();
    if (kind != "list" && kind != "vector" && kind != "???" && kind != "none")
      refuseField("kinds", "the first of four axes must be a list of layers", kind);
    layerCount_ = header_.sizes.front();
    if (layerCount_ > mostLayers)
      refuseField("sizes", "there are at most " + std::to_string(mostLayers) + " layers", std::to_string(layerCount_));
  }
  for (int axis = 0; axis < 3; ++axis) {
    const std::int64_t size = header_.sizes[axes - 3 + static_cast<std::size_t>(axis)];
    if (size > std::numeric_limits<int>::max())
      refuseField("sizes", "masks have at most 2147483647 voxels along an axis", std::to_string(size));
    grid_[axis] = static_cast<int>(size);
  }
  // The product of all sizes was found to fit.
  if (grid_.x * layerCount_ > mostRowBytes / NrrdHeader::bytesOf(header_.type))
    refuseField("sizes", "a row of all layers takes too much room",
                std::to_string(layerCount_) + " " + std::to_string(grid_.x));
}

void LayeredImage::openData() {
  const quarn::NrrdData place = quarn::NrrdData::find(header_, file_);
  dataFile_ = place.file;
  isByteSwapped_ = place.isByteSwapped;
  requireBytes(place);
  data_ = std::make_unique<ByteStream>(place.file, place.offset, place.form);
  data_->skip(place.skip);
}

/// Whether the data file may hold the data.
void LayeredImage::requireBytes(const quarn::NrrdData& place) const {
  const std::string path = QFile::encodeName(place.file).toStdString();
  FileSystem& files = FileSystem::current();
  const std::uint64_t stored = files.openForReading(path, FileSystem::Links::follow)->identity().size;
  const std::uint64_t header = std::min(stored, place.offset);
  const std::uint64_t available = stored - header;
  const auto needed = static_cast<std::uint64_t>(header_.dataBytes()) + static_cast<std::uint64_t>(place.skip);
  if (place.form == ByteStream::Form::plain && available < needed)
    refuse(dataFile_, "is cut: it holds " + std::to_string(available) + " bytes of data, the header asks for " +
                          std::to_string(needed));
  if (needed / hxvoxora::mostBytesPerPackedByte > available)
    refuse(dataFile_, "is cut: its " + std::to_string(available) + " packed bytes cannot hold the " +
                          std::to_string(needed) + " that the header asks for");
}

HxGeometry3 LayeredImage::geometry() const {
  const std::size_t axes = header_.sizes.size();
  const quarn::NrrdPlace place = quarn::nrrdPlace(header_, {axes - 3, axes - 2, axes - 1}, file_);
  const std::string file = McException::excerpt(file_.toStdString());
  if (!place.hasOrigin)
    HxMessage::printf(
        place.hasVoxelSize
            ? "%s: does not tell where it lies; its first voxel is taken to be at the origin"
            : "%s: does not tell where it lies; its voxels are taken to be of 1 mm, the first at the origin",
        file.c_str());
  else if (!place.hasVoxelSize)
    HxMessage::printf("%s: does not tell how large its voxels are; they are taken to be of 1 mm", file.c_str());
  if (!header_.space.empty() && !place.isOfPatient)
    HxMessage::printf("%s: its space \"%s\" tells nothing of the patient; it is taken for left-posterior-superior",
                      file.c_str(), header_.space.c_str());
  if (!quarn::isPerpendicular(place.geometry)) HxMessage::printf("%s: its axes are not perpendicular", file.c_str());
  return place.geometry;
}

Slabs::Slab LayeredImage::next() {
  const Slabs::Slab slab = slabs_->next();
  if (!slab) {
    requireEnd();
    return slab;
  }
  bytes_.resize(static_cast<std::size_t>(slab.bytes));
  if (data_->read(bytes_) < bytes_.size())
    refuse(dataFile_, "is cut: its data end in slice " + std::to_string(slab.z) + " of " + std::to_string(grid_.z));
  if (isByteSwapped_) swapBytes();
  return slab;
}

/// Only behind the last byte of packed data is their checksum looked at. Some writers pad their files.
void LayeredImage::requireEnd() {
  constexpr std::size_t longestTail = 1 << 20;
  if (!data_->isCompressed()) return;
  bytes_.resize(longestTail);
  if (data_->read(bytes_) == longestTail) refuse(dataFile_, "holds more data than the header tells");
}

void LayeredImage::swapBytes() {
  const auto size = static_cast<std::ptrdiff_t>(NrrdHeader::bytesOf(header_.type));
  for (auto at = bytes_.begin(); size > 1 && at != bytes_.end(); at += size) std::reverse(at, at + size);
}

void LayeredImage::refuseLabel(std::uint64_t label) const {
  refuse(dataFile_, "labels are at most 9223372036854775807, got \"" + std::to_string(label) + "\"");
}

void LayeredImage::refuse(const QString& file, const std::string& what) const {
  throw McException(McException::excerpt(file.toStdString()) + ": " + what);
}

void LayeredImage::refuseField(const char* field, const std::string& what, const std::string& value) const {
  refuse(file_, std::string("field \"") + field + "\": " + what + ", got \"" + McException::excerpt(value) + "\"");
}

}  // namespace roitools
