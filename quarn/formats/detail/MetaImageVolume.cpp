#include "quarn/formats/detail/MetaImageVolume.h"

#include <algorithm>
#include <bit>
#include <span>
#include <string>

#include "quarn/formats/detail/MetaImageHeader.h"
#include "quarn/formats/detail/voxelBytes.h"

namespace quarn::formats::detail {

namespace {

std::string firstBytes(const QString& file) {
  const std::size_t length = std::min(static_cast<std::size_t>(lengthOf(file)), MetaImageHeader::maxBytes);
  std::string bytes(length, '\0');
  bytes.resize(ByteStream(file, 0, ByteStream::Form::plain).read(std::as_writable_bytes(std::span(bytes))));
  return bytes;
}

}  // namespace

MetaImageVolume::MetaImageVolume(const QString& file, const Progress& progress) {
  const MetaImageHeader header = MetaImageHeader::parse(firstBytes(file), file);
  description_ = header.image;
  voxels_.kind = kind();
  voxels_.bytes = voxelBytes(dimensions(), kind(), file);
  voxels_.isByteSwapped = header.isBigEndian != (std::endian::native == std::endian::big);
  voxels_.form = header.isCompressed ? ByteStream::Form::zlib : ByteStream::Form::plain;
  voxels_.file = header.dataFile.empty() ? file : fileBeside(file, "ElementDataFile", header.dataFile);
  if (header.dataFile.empty()) voxels_.offset = header.dataOffset;
  if (header.headerBytes > 0) voxels_.offset = static_cast<std::uint64_t>(header.headerBytes);
  if (header.headerBytes < 0)
    voxels_.offset = static_cast<std::uint64_t>(std::max<std::int64_t>(lengthOf(voxels_.file) - voxels_.bytes, 0));
  voxels_.requireLength(progress);
}

}  // namespace quarn::formats::detail
