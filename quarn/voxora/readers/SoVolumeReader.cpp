#include "quarn/voxora/readers/SoVolumeReader.h"

#include <algorithm>
#include <memory>

namespace {

struct ClassState {
  SoType type;
  std::unique_ptr<SoFieldData> fields;
};

/// Usable before main(), as readers register themselves from static initialisers.
ClassState& classState() {
  static ClassState state;
  return state;
}

}  // namespace

SoVolumeReader::SoVolumeReader() {
  const std::lock_guard lock(classMutex());
  initClass();
  if (!classState().fields) classState().fields = std::make_unique<SoFieldData>();
}

SoVolumeReader::~SoVolumeReader() = default;

bool SoVolumeReader::getIsBuiltIn() const {
  return true;
}

const SoFieldData* SoVolumeReader::getFieldData() const {
  return getClassFieldData();
}

SoType SoVolumeReader::getTypeId() const {
  return getClassTypeId();
}

int SoVolumeReader::getDataChar(SbBox3f& /*size*/, SoDataSet::DataType& /*type*/, SbVec3i32& /*dimension*/) {
  return 1;
}

void SoVolumeReader::getSubSlice(const SbBox2i32& /*subSlice*/, int /*sliceNumber*/, void* /*data*/) {}

void SoVolumeReader::startNotify() {
  // A listener may add or remove listeners.
  const std::vector<Registration> listeners = listeners_;
  for (const Registration& registration : listeners) registration.listener();
}

int SoVolumeReader::addListener(Listener listener) {
  listeners_.push_back({nextListener_, std::move(listener)});
  return nextListener_++;
}

void SoVolumeReader::removeListener(int number) {
  std::erase_if(listeners_, [number](const Registration& registration) { return registration.number == number; });
}

void SoVolumeReader::initClass() {
  const std::lock_guard lock(classMutex());
  SoType& type = classState().type;
  if (type.isBad()) type = SoType::createType(SoType::badType(), "SoVolumeReader", nullptr, 0);
}

void SoVolumeReader::exitClass() {
  const std::lock_guard lock(classMutex());
  SoType::removeType("SoVolumeReader");
  classState() = {};
}

SoType SoVolumeReader::getClassTypeId() {
  const std::lock_guard lock(classMutex());
  return classState().type;
}

const SoFieldData* SoVolumeReader::getClassFieldData() {
  const std::lock_guard lock(classMutex());
  return classState().fields.get();
}

std::recursive_mutex& SoVolumeReader::classMutex() {
  static std::recursive_mutex mutex;
  return mutex;
}
