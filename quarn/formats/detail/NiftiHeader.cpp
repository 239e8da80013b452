#include "quarn/formats/detail/NiftiHeader.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>

#include "quarn/formats/detail/NiftiFields.h"
#include "quarn/formats/detail/fault.h"
#include "quarn/formats/detail/niftiGeometry.h"

namespace quarn::formats::detail {

namespace {

constexpr std::int16_t labelIntent = 1002;

constexpr std::size_t dimOffset = 40;
constexpr std::size_t intentOffset = 68;
constexpr std::size_t typeOffset = 70;
constexpr std::size_t bitsOffset = 72;
constexpr std::size_t dataOffsetOffset = 108;
constexpr std::size_t slopeOffset = 112;
constexpr std::size_t interceptOffset = 116;
constexpr std::size_t magicOffset = 344;

struct VoxelType {
  std::int16_t code;
  std::optional<VoxelKind> kind;  ///< none: the type is refused
  const char* name;
};

constexpr VoxelType voxelTypes[] = {
    {2, VoxelKind::UInt8, "unsigned 8-bit"},
    {4, VoxelKind::Int16, "signed 16-bit"},
    {8, VoxelKind::Int32, "signed 32-bit"},
    {16, VoxelKind::Float, "32-bit float"},
    {64, VoxelKind::Double, "64-bit float"},
    {256, VoxelKind::Int8, "signed 8-bit"},
    {512, VoxelKind::UInt16, "unsigned 16-bit"},
    {768, VoxelKind::UInt32, "unsigned 32-bit"},
    {1024, VoxelKind::Int64, "signed 64-bit"},
    {1280, VoxelKind::UInt64, "unsigned 64-bit"},
    {1, std::nullopt, "single bits"},
    {32, std::nullopt, "complex numbers"},
    {128, std::nullopt, "RGB colours"},
    {1536, std::nullopt, "128-bit floats"},
    {1792, std::nullopt, "complex numbers"},
    {2048, std::nullopt, "complex numbers"},
    {2304, std::nullopt, "RGBA colours"},
};

void checkFormat(const NiftiFields& fields, const QString& file) {
  const std::int32_t size = fields.headerSize();
  if (size == NiftiFields::secondVersionSize) refuse(file, QStringLiteral("is NIfTI-2; only NIfTI-1 can be read"));
  if (size != NiftiFields::firstVersionSize) refuse(file, QStringLiteral("is not a NIfTI image"));
  const std::string_view magic = fields.text(magicOffset, 4);
  if (magic != std::string_view("n+1\0", 4) && magic != std::string_view("ni1\0", 4)) {
    refuse(file, QStringLiteral("is not a NIfTI image: its header has no NIfTI mark"));
  }
}

/// A header holds up to seven dimensions; those after the third must be 1.
std::array<std::int64_t, 3> parseDimensions(const NiftiFields& fields, const QString& file) {
  std::array<std::int64_t, 8> dim{};
  for (std::size_t i = 0; i < dim.size(); ++i) dim[i] = fields.get<std::int16_t>(dimOffset + 2 * i);
  if (dim[0] < 3 || dim[0] > 7) {
    refuse(file, QStringLiteral("has %1 dimensions; a volume with 3 is needed").arg(dim[0]));
  }
  for (std::size_t i = 1; i <= static_cast<std::size_t>(dim[0]); ++i) {
    if (dim[i] < 1) refuse(file, QStringLiteral("header field dim[%1] is %2, which is no size").arg(i).arg(dim[i]));
  }
  if (dim[0] >= 4 && dim[4] > 1) {
    refuse(file, QStringLiteral("holds a series of %1 volumes; one volume is needed").arg(dim[4]));
  }
  if (dim[0] >= 5 && dim[5] > 1) {
    refuse(file, QStringLiteral("holds vectors of %1 components; plain numbers are needed").arg(dim[5]));
  }
  for (std::size_t i = 6; i <= static_cast<std::size_t>(dim[0]); ++i) {
    if (dim[i] > 1) refuse(file, QStringLiteral("header field dim[%1] is %2; it must be 1").arg(i).arg(dim[i]));
  }
  return {dim[1], dim[2], dim[3]};
}

VoxelKind parseKind(const NiftiFields& fields, const QString& file) {
  const std::int16_t code = fields.get<std::int16_t>(typeOffset);
  const auto* type = std::find_if(std::begin(voxelTypes), std::end(voxelTypes),
                                  [code](const VoxelType& candidate) { return candidate.code == code; });
  if (type == std::end(voxelTypes)) {
    refuse(file, QStringLiteral("header field datatype is %1, which is no known type").arg(code));
  }
  const QString name = QLatin1String(type->name);
  if (!type->kind) refuse(file, QStringLiteral("holds %1; plain numbers are needed").arg(name));
  const std::int16_t bits = fields.get<std::int16_t>(bitsOffset);
  if (bits != static_cast<int>(8 * bytesOf(*type->kind))) {
    refuse(
        file,
        QStringLiteral("header field bitpix is %1, which does not fit the type (%2)").arg(QString::number(bits), name));
  }
  return *type->kind;
}

/// A slope of 0, or one that is no finite number, means that voxels are not scaled.
void parseScale(const NiftiFields& fields, NiftiHeader& header) {
  const double slope = fields.get<float>(slopeOffset);
  const double intercept = fields.get<float>(interceptOffset);
  if (!std::isfinite(slope) || slope == 0.0) return;
  header.slope = slope;
  if (std::isfinite(intercept)) header.intercept = intercept;
}

std::int64_t parseDataOffset(const NiftiFields& fields, bool hasOwnDataFile, const QString& file) {
  const float offset = fields.get<float>(dataOffsetOffset);
  if (!(offset >= 0.0F && offset <= 2147483520.0F)) {
    refuse(file, QStringLiteral("header field vox_offset is %1, which is no position").arg(double{offset}));
  }
  const std::int64_t whole = static_cast<std::int64_t>(offset);
  return hasOwnDataFile ? whole : std::max<std::int64_t>(whole, NiftiFields::firstVersionSize);
}

}  // namespace

NiftiHeader NiftiHeader::parse(std::span<const std::byte, size> bytes, const QString& file) {
  const NiftiFields fields(bytes);
  checkFormat(fields, file);
  NiftiHeader header;
  header.hasOwnDataFile = fields.text(magicOffset, 3) == "ni1";
  header.dimensions = parseDimensions(fields, file);
  header.kind = parseKind(fields, file);
  parseScale(fields, header);
  header.isByteSwapped = fields.isSwapped();
  header.dataOffset = parseDataOffset(fields, header.hasOwnDataFile, file);
  header.isLabelImage = fields.get<std::int16_t>(intentOffset) == labelIntent;
  header.geometry = parseNiftiGeometry(fields, file);
  return header;
}

}  // namespace quarn::formats::detail
