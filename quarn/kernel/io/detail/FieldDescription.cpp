#include "quarn/kernel/io/detail/FieldDescription.h"

#include <cmath>
#include <limits>
#include <vector>

#include "quarn/base/McException.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/voxora/files/fileNames.h"

namespace quarn::detail {
namespace {

constexpr std::int64_t knownVersion = 1;
constexpr const char* littleEndian = "little";
constexpr const char* const axisNames[] = {"nx", "ny", "nz"};
constexpr McPrimType allTypes[] = {McPrimType::Uint8,  McPrimType::Int8,  McPrimType::Uint16, McPrimType::Int16,
                                   McPrimType::Uint32, McPrimType::Int32, McPrimType::Float,  McPrimType::Double};

/// The elements of the bundle "field", with what is wrong about them.
class Elements {
public:
  explicit Elements(const HxParamBundle& bundle) : bundle_(bundle) {}

  std::string text(const char* name) const {
    std::string text;
    if (!bundle_.findString(name, text)) fail(name, "a text is expected");
    return text;
  }

  std::int64_t count(const char* name) const {
    std::int64_t number = 0;
    if (!bundle_.findNum(name, number) || number < 0) fail(name, "a whole number from 0 on is expected");
    return number;
  }

  std::uint64_t mark(const char* name, bool mayBeZero = false) const {
    const std::string written = text(name);
    if (mayBeZero && written == hxvoxora::generationText(0)) return 0;
    const auto mark = hxvoxora::parseGeneration(written);
    if (!mark) fail(name, "16 hexadecimal digits are expected");
    return *mark;
  }

  std::string fileName(const char* name) const {
    const std::string written = text(name);
    if (!hxvoxora::isPlainName(written)) fail(name, "this is not a plain file name");
    return written;
  }

  McBox3f box(const char* name) const {
    std::vector<double> reals;
    if (!bundle_.findReals(name, reals) || reals.size() != 6) fail(name, "six reals are expected");
    McBox3f box;
    for (int i = 0; i < 6; ++i) {
      const double real = reals[static_cast<std::size_t>(i)];
      if (!isSingle(real)) fail(name, "there is a number that is not single precision");
      box[i] = static_cast<float>(real);
    }
    return box;
  }

  [[noreturn]] void fail(const char* name, const char* what) const {
    const HxParamBase* element = bundle_.findBase(name);
    const auto* parameter = dynamic_cast<const HxParameter*>(element);
    std::string value;
    if (parameter) value = ": \"" + McException::excerpt(parameter->print()) + "\"";
    throw McException(std::string("\"field/") + name + "\": " + what + (element ? "" : ", it is missing") + value);
  }

private:
  static bool isSingle(double real) {
    if (!std::isfinite(real)) return true;
    // Only what is in range may be converted.
    return std::abs(real) <= double{std::numeric_limits<float>::max()} && double{static_cast<float>(real)} == real;
  }

  const HxParamBundle& bundle_;
};

McPrimType parseType(const Elements& elements, bool isLabelField) {
  const std::string name = elements.text("type");
  for (const McPrimType type : allTypes) {
    if (name != HxUniformScalarField3::primTypeName(type)) continue;
    if (isLabelField && type != McPrimType::Uint8) elements.fail("type", "labels are uint8");
    return type;
  }
  elements.fail("type", "this type is not known");
}

/// Counts that could not even be multiplied belong to no file.
void requireCountable(const FieldDescription& field) {
  const auto bytesPerVoxel = static_cast<std::int64_t>(HxUniformScalarField3::primTypeSize(field.type));
  if (field.dimensions.voxelCount() > std::numeric_limits<std::int64_t>::max() / bytesPerVoxel) {
    throw McException("\"field\": " + std::to_string(field.dimensions.nx) + " x " +
                      std::to_string(field.dimensions.ny) + " x " + std::to_string(field.dimensions.nz) +
                      " voxels are too many");
  }
}

bool parseContentType(const HxParamBundle& root) {
  std::string content;
  if (!root.findString(fieldfile::contentType, content)) throw McException("the text \"ContentType\" is missing");
  if (content == fieldfile::labelContent) return true;
  if (content == fieldfile::scalarContent) return false;
  throw McException("\"ContentType\": \"" + McException::excerpt(content) + "\" is not a field");
}

}  // namespace

std::uint64_t FieldDescription::voxelBytes() const {
  return static_cast<std::uint64_t>(dimensions.voxelCount()) * HxUniformScalarField3::primTypeSize(type);
}

void FieldDescription::write(HxParamBundle& root) const {
  root.set(fieldfile::contentType, isLabelField ? fieldfile::labelContent : fieldfile::scalarContent);
  HxParamBundle& bundle = *root.getBundle(fieldfile::field);
  bundle.set("version", knownVersion);
  bundle.set("type", HxUniformScalarField3::primTypeName(type));
  for (int axis = 0; axis < 3; ++axis) bundle.set(axisNames[axis], dimensions[axis]);
  bundle.set("box", 6, box.data());
  bundle.set("data-file", dataFile);
  bundle.set("data-bytes", static_cast<std::int64_t>(dataBytes));
  bundle.set("generation", hxvoxora::generationText(generation));
  bundle.set("byte-order", littleEndian);
  bundle.set("table-checksum", hxvoxora::generationText(tableChecksum));
  if (!replaces.empty()) bundle.set("replaces", replaces);
}

FieldDescription FieldDescription::parse(const HxParamBundle& root) {
  FieldDescription field;
  field.isLabelField = parseContentType(root);
  const HxParamBundle* bundle = root.getBundle(fieldfile::field);
  if (!bundle) throw McException("the bundle \"field\" is missing");
  const Elements elements(*bundle);
  if (elements.count("version") != knownVersion) elements.fail("version", "only 1 can be read");
  if (elements.text("byte-order") != littleEndian) elements.fail("byte-order", "only little can be read");
  field.type = parseType(elements, field.isLabelField);
  for (int axis = 0; axis < 3; ++axis) field.dimensions[axis] = elements.count(axisNames[axis]);
  requireCountable(field);
  field.box = elements.box("box");
  field.dataFile = elements.fileName("data-file");
  field.dataBytes = static_cast<std::uint64_t>(elements.count("data-bytes"));
  field.generation = elements.mark("generation");
  field.tableChecksum = elements.mark("table-checksum", true);
  if (bundle->findBase("replaces")) field.replaces = elements.fileName("replaces");
  return field;
}

}  // namespace quarn::detail
