#include <bit>
#include <charconv>
#include <system_error>

#include "quarn/formats/detail/labelIntent.h"
#include "quarn/formats/detail/savedHeaders.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/io/NrrdHeader.h"

namespace quarn::formats::detail {

namespace {

struct TypeNames {
  const char* metaImage;
  NrrdHeader::Type nrrd;
};

TypeNames namesOf(McPrimType type) {
  switch (type) {
    case McPrimType::Uint8:
      return {"MET_UCHAR", NrrdHeader::Type::uint8};
    case McPrimType::Int8:
      return {"MET_CHAR", NrrdHeader::Type::int8};
    case McPrimType::Uint16:
      return {"MET_USHORT", NrrdHeader::Type::uint16};
    case McPrimType::Int16:
      return {"MET_SHORT", NrrdHeader::Type::int16};
    case McPrimType::Uint32:
      return {"MET_UINT", NrrdHeader::Type::uint32};
    case McPrimType::Int32:
      return {"MET_INT", NrrdHeader::Type::int32};
    case McPrimType::Float:
      return {"MET_FLOAT", NrrdHeader::Type::float32};
    case McPrimType::Double:
      break;
  }
  return {"MET_DOUBLE", NrrdHeader::Type::float64};
}

/// The shortest text that reads back as the same number, whatever the locale.
template <typename T>
std::string written(T number) {
  char room[32];
  const std::to_chars_result result = std::to_chars(room, room + sizeof room, number);
  return {room, result.ptr};
}

template <typename Numbers>
std::string line(const char* name, const Numbers& numbers) {
  std::string text = std::string(name) + " =";
  for (const auto number : numbers) text += " " + written(number);
  return text + "\n";
}

std::array<double, 9> transposed(const std::array<double, 9>& matrix) {
  std::array<double, 9> result;
  for (std::size_t i = 0; i < 9; ++i) result[i] = matrix[3 * (i % 3) + i / 3];
  return result;
}

bool holdsLabels(const HxUniformScalarField3& field) {
  return dynamic_cast<const HxUniformLabelField3*>(&field) != nullptr;
}

constexpr bool isBigEndian = std::endian::native == std::endian::big;

}  // namespace

std::string metaImageHeader(const HxUniformScalarField3& field) {
  const HxGeometry3 geometry = field.geometry();
  const McDim3l dimensions = field.latticeDimensions();
  std::string text = "ObjectType = Image\nNDims = 3\nBinaryData = True\n";
  text += std::string("BinaryDataByteOrderMSB = ") + (isBigEndian ? "True\n" : "False\n");
  text += "CompressedData = False\n";
  text += line("TransformMatrix", transposed(geometry.direction));
  text += line("Offset", geometry.origin);
  text += "CenterOfRotation = 0 0 0\n";
  text += line("ElementSpacing", geometry.voxelSize);
  text += line("DimSize", std::array{dimensions.nx, dimensions.ny, dimensions.nz});
  if (holdsLabels(field)) text += std::string(intentName) + " = " + std::string(labelIntent) + "\n";
  text += std::string("ElementType = ") + namesOf(field.primType()).metaImage + "\n";
  return text + "ElementDataFile = LOCAL\n";
}

std::string nrrdHeader(const HxUniformScalarField3& field, bool isCompressed, const QString& file) {
  const HxGeometry3 geometry = field.geometry();
  const McDim3l dimensions = field.latticeDimensions();
  NrrdHeader header;
  header.type = namesOf(field.primType()).nrrd;
  header.sizes = {dimensions.nx, dimensions.ny, dimensions.nz};
  header.space = "left-posterior-superior";
  header.spaceDimension = 3;
  header.spaceOrigin.assign(geometry.origin.begin(), geometry.origin.end());
  for (std::size_t axis = 0; axis < 3; ++axis) {
    NrrdHeader::Vector step(3);
    for (std::size_t row = 0; row < 3; ++row) step[row] = geometry.direction[3 * row + axis] * geometry.voxelSize[axis];
    header.spaceDirections.emplace_back(std::move(step));
    header.kinds.emplace_back("domain");
  }
  header.endian = isBigEndian ? NrrdHeader::Endian::big : NrrdHeader::Endian::little;
  header.encoding = isCompressed ? NrrdHeader::Encoding::gzip : NrrdHeader::Encoding::raw;
  if (holdsLabels(field)) header.keyValues.emplace_back(intentName, labelIntent);
  return header.toText(file);
}

}  // namespace quarn::formats::detail
