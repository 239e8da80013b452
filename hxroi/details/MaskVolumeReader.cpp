#include "hxroi/details/MaskVolumeReader.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"

namespace hxroi::details {

namespace {

constexpr const char* kTypeName = "MaskVolumeReader";

struct ClassState {
  SoType type;
  std::unique_ptr<SoFieldData> fields;  ///< null until the first instance
};

/// Guarded by SoVolumeReader::classMutex().
ClassState& classState() {
  static ClassState state;
  return state;
}

/// The toolkit knows the class as long as the library is there.
struct ClassRegistration {
  ClassRegistration() { MaskVolumeReader::initClass(); }
  ~ClassRegistration() { MaskVolumeReader::exitClass(); }
};
const ClassRegistration registration;

/// The pixels that are asked for. Their number along x decides alone whether it is a single one.
SbBox2i32 partOf(const SbBox2i32& subSlice) {
  const SbVec2i32& low = subSlice.getMin();
  return low[0] > subSlice.getMax()[0] ? SbBox2i32(low, low) : subSlice;
}

/// `count` bits, most significant first, as bytes 0 and 1.
void unpack(const std::uint8_t* bits, std::size_t count, std::uint8_t* bytes) {
  for (std::size_t i = 0; i < count; ++i) bytes[i] = bits[i / 8] >> (7 - i % 8) & 1;
}

void requireInside(const Mask& mask, const SbBox2i32& part, int z) {
  const McVec3i& grid = mask.dimensions();
  const SbVec2i32 &low = part.getMin(), &high = part.getMax();
  if (low[0] >= 0 && low[1] >= 0 && z >= 0 && high[0] < grid.x && high[1] < grid.y && z < grid.z) return;
  throw McException("mask " + McException::excerpt(mask.name()) + ": slice " + std::to_string(z) + ", (" +
                    std::to_string(low[0]) + ", " + std::to_string(low[1]) + ") to (" + std::to_string(high[0]) + ", " +
                    std::to_string(high[1]) + "): outside of the mask");
}

}  // namespace

MaskVolumeReader::MaskVolumeReader() {
  const std::lock_guard lock(classMutex());
  initClass();
  if (!classState().fields) classState().fields = std::make_unique<SoFieldData>(SoVolumeReader::getClassFieldData());
}

MaskVolumeReader::~MaskVolumeReader() = default;

void MaskVolumeReader::setMask(const Mask* mask) {
  mask_ = mask;
  startNotify();
}

bool MaskVolumeReader::getIsBuiltIn() const {
  return false;
}

const SoFieldData* MaskVolumeReader::getFieldData() const {
  const std::lock_guard lock(classMutex());
  return classState().fields.get();
}

SoType MaskVolumeReader::getTypeId() const {
  return getClassTypeId();
}

int MaskVolumeReader::getDataChar(SbBox3f& size, SoDataSet::DataType& type, SbVec3i32& dimension) {
  const Mask* mask = mask_;
  if (!mask) return 1;
  const McVec3i& grid = mask->dimensions();
  size.setBounds(SbVec3f(0, 0, 0), SbVec3f(1, 1, 1));
  type = SoDataSet::UNSIGNED_BYTE;
  dimension.setValue(grid.x, grid.y, grid.z);
  return 0;
}

void MaskVolumeReader::getSubSlice(const SbBox2i32& subSlice, int sliceNumber, void* data) {
  const Mask* mask = mask_;
  if (!mask) throw McException("MaskVolumeReader: there is no mask to read a slice from");
  const SbBox2i32 part = partOf(subSlice);
  const SbVec2i32 &low = part.getMin(), &high = part.getMax();
  if (high[1] < low[1]) return;
  requireInside(*mask, part, sliceNumber);
  const McVec3i size(high[0] - low[0] + 1, high[1] - low[1] + 1, 1);
  const BoxProxy view = mask->getConstBox(McVec3i(low[0], low[1], sliceNumber), size);
  unpack(view.bits(), static_cast<std::size_t>(size.x) * static_cast<std::size_t>(size.y),
         static_cast<std::uint8_t*>(data));
}

void MaskVolumeReader::initClass() {
  const std::lock_guard lock(classMutex());
  if (SoVolumeReader::getClassTypeId().isBad()) SoVolumeReader::initClass();
  SoType& type = classState().type;
  if (type.isBad())
    type = SoType::createType(SoVolumeReader::getClassTypeId(), kTypeName, &MaskVolumeReader::createInstance, 0);
}

void MaskVolumeReader::exitClass() {
  const std::lock_guard lock(classMutex());
  SoType::removeType(kTypeName);
  classState() = {};
}

SoType MaskVolumeReader::getClassTypeId() {
  const std::lock_guard lock(classMutex());
  return classState().type;
}

void* MaskVolumeReader::createInstance(SoType* /*type*/) {
  return static_cast<SoVolumeReader*>(new MaskVolumeReader);
}

}  // namespace hxroi::details
