#include "quarn/formats/detail/NrrdVolume.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/formats/detail/fault.h"
#include "quarn/formats/detail/numbers.h"
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

const std::string* otherField(const NrrdHeader& header, const char* name) {
  const auto found = header.others.find(name);
  return found == header.others.end() ? nullptr : &found->second;
}

[[noreturn]] void refuseField(const QString& file, const char* name, const std::string& value, const char* why) {
  refuse(file, QStringLiteral("field \"%1\" is %2: %3").arg(QLatin1String(name), quoted(value), QLatin1String(why)));
}

/// Millimetres in the units of a field, "mm" "um" ..., as many as there are; 1 for those not told.
std::vector<double> unitsOf(const NrrdHeader& header, const char* name, std::size_t count, const QString& file) {
  static const std::map<std::string_view, double> known = {
      {"", 1.0},           {"???", 1.0},         {"mm", 1.0},
      {"millimeter", 1.0}, {"millimeters", 1.0}, {"um", 1e-3},
      {"\u00B5m", 1e-3},   {"\u03BCm", 1e-3},    {"micron", 1e-3},
      {"microns", 1e-3},   {"micrometer", 1e-3}, {"micrometers", 1e-3},
      {"nm", 1e-6},        {"cm", 10.0},         {"m", 1000.0}};
  const std::string* const text = otherField(header, name);
  if (!text) return std::vector<double>(count, 1.0);
  std::vector<double> units;
  for (std::size_t start = text->find('"'); start != std::string::npos;) {
    const std::size_t end = text->find('"', start + 1);
    if (end == std::string::npos) break;
    const auto unit = known.find(std::string_view(*text).substr(start + 1, end - start - 1));
    if (unit == known.end()) refuseField(file, name, *text, "units of length that are known are needed");
    units.push_back(unit->second);
    start = text->find('"', end + 1);
  }
  if (units.size() != count) refuseField(file, name, *text, "a unit in quotes for each axis is needed");
  return units;
}

/// The number for an axis in a field with one for each; nothing when there is none.
std::optional<double> numberOf(const NrrdHeader& header, const char* name, std::size_t axis, const QString& file) {
  const std::string* const text = otherField(header, name);
  if (!text) return std::nullopt;
  const auto numbers = parseNumbers<double>(*text);
  if (!numbers || numbers->size() != header.sizes.size())
    refuseField(file, name, *text, "a number for each axis is needed");
  const double number = (*numbers)[axis];
  return std::isnan(number) ? std::nullopt : std::optional(number);
}

/// Whether the ends of an axis are the centres of its first and last elements, and not their outer sides.
bool endsInCenters(const NrrdHeader& header, std::size_t axis) {
  const std::string* text = otherField(header, "centers");
  if (!text) text = otherField(header, "centerings");
  if (!text) return false;
  std::istringstream words(*text);
  std::string word;
  for (std::size_t i = 0; i <= axis; ++i) words >> word;
  return word == "node";
}

/// An axis without a direction: told are its spacing, or its ends, or nothing.
void placeByEnds(const NrrdHeader& header, std::size_t axis, std::size_t column, const QString& file,
                 HxGeometry3& geometry) {
  double& size = geometry.voxelSize[column];
  const auto least = numberOf(header, "axis mins", axis, file);
  const auto most = numberOf(header, "axis maxs", axis, file);
  const bool isNode = endsInCenters(header, axis);
  const auto steps = static_cast<double>(header.sizes[axis] - (isNode ? 1 : 0));
  if (axis < header.spacings.size() && !std::isnan(header.spacings[axis]))
    size = header.spacings[axis];
  else if (least && most && steps > 0)
    size = (*most - *least) / steps;
  if (least && header.spaceOrigin.empty()) geometry.origin[column] = *least + (isNode ? 0.0 : size / 2);
}

void placeByDirection(const NrrdHeader::Vector& step, std::size_t column, const std::vector<double>& units,
                      HxGeometry3& geometry) {
  const std::array<double, 3> scaled = {step[0] * units[0], step[1] * units[1], step[2] * units[2]};
  const double size = std::hypot(scaled[0], scaled[1], scaled[2]);
  geometry.voxelSize[column] = size;
  for (std::size_t row = 0; row < 3; ++row) geometry.direction[3 * row + column] = scaled[row] / size;
}

/// Everything is placed in the space of the file, and then turned.
HxGeometry3 geometryOf(const NrrdHeader& header, const std::array<std::size_t, 3>& axes, const QString& file) {
  const std::array<double, 3> turn = turnOf(header, file);
  const std::vector<double> spaceUnits = unitsOf(header, "space units", 3, file);
  HxGeometry3 geometry;
  for (std::size_t column = 0; column < 3; ++column) {
    if (!header.spaceOrigin.empty()) geometry.origin[column] = header.spaceOrigin[column] * spaceUnits[column];
    if (!header.spaceDirections.empty() && header.spaceDirections[axes[column]]) {
      placeByDirection(*header.spaceDirections[axes[column]], column, spaceUnits, geometry);
      continue;
    }
    placeByEnds(header, axes[column], column, file, geometry);
    const double unit = unitsOf(header, "units", header.sizes.size(), file)[axes[column]];
    geometry.voxelSize[column] *= unit;
    if (header.spaceOrigin.empty()) geometry.origin[column] *= unit;
  }
  for (std::size_t row = 0; row < 3; ++row) {
    geometry.origin[row] = turn[row] * geometry.origin[row] + 0.0;
    for (std::size_t column = 0; column < 3; ++column)
      geometry.direction[3 * row + column] = turn[row] * geometry.direction[3 * row + column] + 0.0;
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

NrrdVolume::NrrdVolume(const QString& file, const Progress& progress) {
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
  voxels_.requireLength(progress);
}

}  // namespace quarn::formats::detail
