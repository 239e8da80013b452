#include "quarn/formats/detail/NrrdVolume.h"

#include <array>
#include <string>
#include <vector>

#include "quarn/formats/detail/fault.h"
#include "quarn/formats/detail/labelIntent.h"
#include "quarn/formats/detail/voxelBytes.h"
#include "quarn/kernel/fields/soundLattice.h"
#include "quarn/kernel/io/NrrdData.h"
#include "quarn/kernel/io/NrrdHeader.h"
#include "quarn/kernel/io/nrrdPlace.h"

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

}  // namespace

NrrdVolume::NrrdVolume(const QString& file, const Progress& progress) {
  lengthOf(file);
  const NrrdHeader header = NrrdHeader::read(file);
  const std::array<std::size_t, 3> axes = volumeAxes(header, file);
  for (std::size_t i = 0; i < 3; ++i) description_.dimensions[i] = header.sizes[axes[i]];
  description_.kind = kindOf(header.type);
  description_.geometry = nrrdPlace(header, axes, file).geometry;
  requirePerpendicularLattice(description_.geometry, file);
  const std::string* const intent = header.find(intentName);
  description_.isLabelImage = intent && *intent == labelIntent;

  const NrrdData data = NrrdData::find(header, file);
  voxels_.kind = kind();
  voxels_.bytes = voxelBytes(dimensions(), kind(), file);
  voxels_.file = data.file;
  voxels_.offset = data.offset;
  voxels_.skip = data.skip;
  voxels_.form = data.form;
  voxels_.isByteSwapped = data.isByteSwapped;
  voxels_.requireLength(progress);
}

}  // namespace quarn::formats::detail
