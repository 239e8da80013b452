#include "quarn/formats/detail/MetaImageHeader.h"

#include <algorithm>
#include <initializer_list>

#include "quarn/formats/detail/MetaImageElements.h"
#include "quarn/formats/detail/labelIntent.h"
#include "quarn/formats/detail/voxelBytes.h"
#include "quarn/kernel/fields/soundLattice.h"

namespace quarn::formats::detail {

namespace {

struct TypeName {
  const char* name;
  VoxelKind kind;
};

constexpr TypeName typeNames[] = {
    {"MET_CHAR", VoxelKind::Int8},         {"MET_UCHAR", VoxelKind::UInt8},  {"MET_SHORT", VoxelKind::Int16},
    {"MET_USHORT", VoxelKind::UInt16},     {"MET_INT", VoxelKind::Int32},    {"MET_UINT", VoxelKind::UInt32},
    {"MET_LONG", VoxelKind::Int32},        {"MET_ULONG", VoxelKind::UInt32}, {"MET_LONG_LONG", VoxelKind::Int64},
    {"MET_ULONG_LONG", VoxelKind::UInt64}, {"MET_FLOAT", VoxelKind::Float},  {"MET_DOUBLE", VoxelKind::Double},
};

VoxelKind parseKind(const MetaImageElements& elements) {
  const std::string& name = elements.get("ElementType");
  const auto* const found = std::ranges::find_if(typeNames, [&](const TypeName& type) { return name == type.name; });
  if (found == std::end(typeNames)) elements.refuseValue("ElementType", QStringLiteral("no type of plain numbers"));
  return found->kind;
}

std::array<std::int64_t, 3> parseDimensions(const MetaImageElements& elements, const QString& file) {
  const auto axes = parseNumber<int>(elements.get("NDims"));
  if (!axes || *axes < 1 || *axes > 10) elements.refuseValue("NDims", QStringLiteral("a number of axes is needed"));
  elements.get("DimSize");
  const std::vector<std::int64_t> sizes = *elements.numbers<std::int64_t>("DimSize", static_cast<std::size_t>(*axes));
  for (const std::int64_t size : sizes) {
    if (size < 1) elements.refuseValue("DimSize", QStringLiteral("%1 is no size").arg(size));
  }
  if (*axes < 3) refuse(file, QStringLiteral("has %1 dimensions; a volume with 3 is needed").arg(*axes));
  if (*axes > 3 && sizes[3] > 1)
    refuse(file, QStringLiteral("holds a series of %1 volumes; one volume is needed").arg(sizes[3]));
  if (std::any_of(sizes.begin() + 3, sizes.end(), [](std::int64_t size) { return size > 1; }))
    refuse(file, QStringLiteral("has %1 dimensions; a volume with 3 is needed").arg(*axes));
  return {sizes[0], sizes[1], sizes[2]};
}

/// The first of some elements that mean the same.
const char* firstOf(const MetaImageElements& elements, std::initializer_list<const char*> names) {
  const char* const* const found = std::ranges::find_if(names, [&](const char* name) { return elements.has(name); });
  return found == names.end() ? *names.begin() : *found;
}

double millimetresPerUnit(const MetaImageElements& elements) {
  const std::string* const unit = elements.find("DistanceUnits");
  if (!unit || *unit == "mm" || *unit == "?") return 1.0;
  if (*unit == "um") return 0.001;
  if (*unit == "cm") return 10.0;
  elements.refuseValue("DistanceUnits", QStringLiteral("\"mm\", \"um\" or \"cm\" is needed"));
}

/// Axes are the rows of the matrix in the file. Those behind the third are passed over.
HxGeometry3 parseGeometry(const MetaImageElements& elements) {
  HxGeometry3 geometry;
  const auto count = static_cast<std::size_t>(parseNumber<int>(elements.get("NDims")).value_or(3));
  const double millimetres = millimetresPerUnit(elements);
  if (const auto origin = elements.numbers<double>(firstOf(elements, {"Offset", "Position", "Origin"}), count))
    for (std::size_t axis = 0; axis < 3; ++axis) geometry.origin[axis] = (*origin)[axis] * millimetres + 0.0;
  if (const auto sizes = elements.numbers<double>(firstOf(elements, {"ElementSpacing", "ElementSize"}), count))
    for (std::size_t axis = 0; axis < 3; ++axis) geometry.voxelSize[axis] = (*sizes)[axis] * millimetres;
  if (const auto axes =
          elements.numbers<double>(firstOf(elements, {"TransformMatrix", "Rotation", "Orientation"}), count * count))
    for (std::size_t axis = 0; axis < 3; ++axis)
      for (std::size_t row = 0; row < 3; ++row) geometry.direction[3 * row + axis] = (*axes)[count * axis + row] + 0.0;
  return geometry;
}

void requireOneNumberPerVoxel(const MetaImageElements& elements, const QString& file) {
  const std::string* const channels = elements.find("ElementNumberOfChannels");
  if (!channels) return;
  const auto count = parseNumber<int>(*channels);
  if (count == 1) return;
  if (!count || *count < 1) elements.refuseValue("ElementNumberOfChannels", QStringLiteral("a number is needed"));
  refuse(file, QStringLiteral("holds vectors of %1 components; plain numbers are needed").arg(*count));
}

void requireUnscaled(const MetaImageElements& elements) {
  const auto slope = elements.numbers<double>("ElementToIntensityFunctionSlope", 1);
  if (slope && slope->front() != 1.0)
    elements.refuseValue("ElementToIntensityFunctionSlope", QStringLiteral("only values without a scale are read"));
  const auto offset = elements.numbers<double>("ElementToIntensityFunctionOffset", 1);
  if (offset && offset->front() != 0.0)
    elements.refuseValue("ElementToIntensityFunctionOffset", QStringLiteral("only values without an offset are read"));
}

std::int64_t parseHeaderBytes(const MetaImageElements& elements, bool hasOwnDataFile) {
  const auto bytes = elements.numbers<std::int64_t>("HeaderSize", 1);
  if (!bytes || bytes->front() == 0) return 0;
  if (!hasOwnDataFile)
    elements.refuseValue("HeaderSize", QStringLiteral("only voxels in a file of their own have one"));
  if (bytes->front() < -1) elements.refuseValue("HeaderSize", QStringLiteral("no number of bytes"));
  return bytes->front();
}

}  // namespace

MetaImageHeader MetaImageHeader::parse(std::string_view bytes, const QString& file) {
  const MetaImageElements elements(bytes, file);
  if (const std::string* const type = elements.find("ObjectType"); type && *type != "Image")
    elements.refuseValue("ObjectType", QStringLiteral("\"Image\" is needed"));
  MetaImageHeader header;
  header.dataOffset = elements.size();
  requireOneNumberPerVoxel(elements, file);
  requireUnscaled(elements);
  header.image.kind = parseKind(elements);
  header.image.dimensions = parseDimensions(elements, file);
  voxelBytes(header.image.dimensions, header.image.kind, file);
  header.image.geometry = parseGeometry(elements);
  requirePerpendicularLattice(header.image.geometry, file);
  const std::string* const intent = elements.find(intentName.data());
  header.image.isLabelImage = intent && *intent == labelIntent;
  if (!elements.isTrue("BinaryData", true))
    elements.refuseValue("BinaryData", QStringLiteral("numbers that are written out are not read"));
  header.isBigEndian = elements.isTrue(firstOf(elements, {"BinaryDataByteOrderMSB", "ElementByteOrderMSB"}), false);
  header.isCompressed = elements.isTrue("CompressedData", false);
  const std::string& dataFile = elements.get("ElementDataFile");
  if (dataFile != "LOCAL" && dataFile != "Local" && dataFile != "local") header.dataFile = dataFile;
  const bool hasList = dataFile.empty() || dataFile.starts_with("LIST") || dataFile.find('%') != std::string::npos;
  if (hasList) elements.refuseValue("ElementDataFile", QStringLiteral("the name of one file, or LOCAL, is needed"));
  header.headerBytes = parseHeaderBytes(elements, !header.dataFile.empty());
  if (header.isCompressed && header.headerBytes != 0)
    elements.refuseValue("HeaderSize", QStringLiteral("compressed voxels have none"));
  return header;
}

}  // namespace quarn::formats::detail
