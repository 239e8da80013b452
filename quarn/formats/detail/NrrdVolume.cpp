#include "quarn/formats/detail/NrrdVolume.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <vector>

#include "quarn/formats/detail/fault.h"
#include "quarn/formats/detail/soundGeometry.h"
#include "quarn/formats/detail/voxelBytes.h"
#include "quarn/kernel/io/NrrdHeader.h"

namespace quarn::formats::detail {

namespace {

VoxelKind kindOf(NrrdHeader::Type type) {
  using Type = NrrdHeader::Type;
  switch (type) {
    case Type::int8:
      return VoxelKind::Int8;
    case Type::uint8:
      return VoxelKind::UInt8;
    case Type::int16:
      return VoxelKind::Int16;
    case Type::uint16:
      return VoxelKind::UInt16;
    case Type::int32:
      return VoxelKind::Int32;
    case Type::uint32:
      return VoxelKind::UInt32;
    case Type::int64:
      return VoxelKind::Int64;
    case Type::uint64:
      return VoxelKind::UInt64;
    case Type::float32:
      return VoxelKind::Float;
    case Type::float64:
      break;
  }
  return VoxelKind::Double;
}

std::string kindOfAxis(const NrrdHeader& header, std::size_t axis) {
  return axis < header.kinds.size() ? header.kinds[axis] : std::string("???");
}

/// What the elements along an axis that is not in space are.
QString contentAlong(const NrrdHeader& header, std::size_t axis) {
  const std::string kind = kindOfAxis(header, axis);
  if (kind == "complex") return QStringLiteral("complex numbers; plain numbers are");
  if (kind.ends_with("-color"))
    return QStringLiteral("%1 colours; plain numbers are")
        .arg(QString::fromStdString(kind.substr(0, kind.size() - 6)).toUpper());
  const std::int64_t size = header.sizes[axis];
  const bool isSeries = kind == "list" || kind == "time" || axis + 1 == header.sizes.size();
  if (isSeries && axis > 0) return QStringLiteral("a series of %1 volumes; one volume is").arg(size);
  return QStringLiteral("vectors of %1 components; plain numbers are").arg(size);
}

bool isInSpace(const NrrdHeader& header, std::size_t axis) {
  const std::string kind = kindOfAxis(header, axis);
  const bool hasDirection = header.spaceDirections.empty() || header.spaceDirections[axis].has_value();
  return hasDirection && (kind == "???" || kind == "domain" || kind == "space" || kind == "none");
}

/// The three axes of the volume; those of one element that are not in space are passed over.
std::array<std::size_t, 3> volumeAxes(const NrrdHeader& header, const QString& file) {
  std::vector<std::size_t> axes;
  for (std::size_t axis = 0; axis < header.sizes.size(); ++axis) {
    if (isInSpace(header, axis)) {
      axes.push_back(axis);
    } else if (header.sizes[axis] > 1) {
      refuse(file, QStringLiteral("holds %1 needed").arg(contentAlong(header, axis)));
    }
  }
  if (axes.size() == 4 && header.sizes[axes[3]] > 1)
    refuse(file, QStringLiteral("holds %1 needed").arg(contentAlong(header, axes[3])));
  if (axes.size() == 4) axes.pop_back();
  if (axes.size() != 3) refuse(file, QStringLiteral("has %1 dimensions; a volume with 3 is needed").arg(axes.size()));
  return {axes[0], axes[1], axes[2]};
}

/// Signs that turn the axes of the space of a file to the left, to the back and up. Spaces that do not tell where
/// the patient lies are taken as they are.
std::array<double, 3> turnOf(const NrrdHeader& header, const QString& file) {
  if (header.spaceDimension != 0 && header.spaceDimension != 3)
    refuse(file, QStringLiteral("its space has %1 dimensions; 3 are needed").arg(header.spaceDimension));
  if (header.space == "right-anterior-superior") return {-1, -1, 1};
  if (header.space == "left-anterior-superior") return {1, -1, 1};
  return {1, 1, 1};
}

void placeAxis(const NrrdHeader& header, std::size_t axis, std::size_t column, const std::array<double, 3>& turn,
               HxGeometry3& geometry) {
  if (header.spaceDirections.empty() || !header.spaceDirections[axis]) {
    const bool isTold = axis < header.spacings.size() && !std::isnan(header.spacings[axis]);
    if (isTold) geometry.voxelSize[column] = header.spacings[axis];
    return;
  }
  const NrrdHeader::Vector& step = *header.spaceDirections[axis];
  const double size = std::hypot(step[0], step[1], step[2]);
  geometry.voxelSize[column] = size;
  for (std::size_t row = 0; row < 3; ++row) geometry.direction[3 * row + column] = turn[row] * step[row] / size + 0.0;
}

HxGeometry3 geometryOf(const NrrdHeader& header, const std::array<std::size_t, 3>& axes, const QString& file) {
  const std::array<double, 3> turn = turnOf(header, file);
  HxGeometry3 geometry;
  for (std::size_t column = 0; column < 3; ++column) {
    placeAxis(header, axes[column], column, turn, geometry);
    if (!header.spaceOrigin.empty()) geometry.origin[column] = turn[column] * header.spaceOrigin[column] + 0.0;
  }
  return geometry;
}

ByteStream::Form formOf(const NrrdHeader& header, const QString& file) {
  switch (header.encoding) {
    case NrrdHeader::Encoding::raw:
      return ByteStream::Form::plain;
    case NrrdHeader::Encoding::gzip:
      return ByteStream::Form::gzip;
    case NrrdHeader::Encoding::text:
      refuse(file, QStringLiteral("field \"encoding\" is \"text\"; \"raw\" and \"gzip\" are read"));
    case NrrdHeader::Encoding::hex:
      refuse(file, QStringLiteral("field \"encoding\" is \"hex\"; \"raw\" and \"gzip\" are read"));
    case NrrdHeader::Encoding::bzip2:
      break;
  }
  refuse(file, QStringLiteral("field \"encoding\" is \"bzip2\"; \"raw\" and \"gzip\" are read"));
}

}  // namespace

NrrdVolume::NrrdVolume(const QString& file) {
  lengthOf(file);
  const NrrdHeader header = NrrdHeader::read(file);
  const std::array<std::size_t, 3> axes = volumeAxes(header, file);
  for (std::size_t i = 0; i < 3; ++i) description_.dimensions[i] = header.sizes[axes[i]];
  description_.kind = kindOf(header.type);
  description_.geometry = geometryOf(header, axes, file);
  requireSoundGeometry(description_.geometry, file);

  voxels_.kind = kind();
  voxels_.bytes = voxelBytes(dimensions(), kind(), file);
  voxels_.form = formOf(header, file);
  const bool isBigEndian = header.endian == NrrdHeader::Endian::big;
  voxels_.isByteSwapped =
      header.endian != NrrdHeader::Endian::unstated && isBigEndian != (std::endian::native == std::endian::big);
  voxels_.file = header.dataFile.empty() ? file : fileBeside(file, "field \"data file\"", header.dataFile);
  voxels_.offset = header.dataOffset;
  if (header.lineSkip != 0) {
    refuse(file, QStringLiteral("field \"line skip\" is %1; only voxels without lines in front of them are read")
                     .arg(header.lineSkip));
  }
  if (header.byteSkip >= 0) {
    voxels_.skip = header.byteSkip;
  } else if (voxels_.form != ByteStream::Form::plain) {
    refuse(file, QStringLiteral("field \"byte skip\" is -1, which compressed voxels cannot have"));
  } else {
    const std::int64_t end = lengthOf(voxels_.file) - voxels_.bytes;
    voxels_.offset = std::max(voxels_.offset, static_cast<std::uint64_t>(std::max<std::int64_t>(end, 0)));
  }
  voxels_.requireLength();
}

}  // namespace quarn::formats::detail
