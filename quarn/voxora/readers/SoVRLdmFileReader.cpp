#include "quarn/voxora/readers/SoVRLdmFileReader.h"

#include "quarn/base/McException.h"
#include "quarn/voxora/files/FileSystem.h"

namespace {

SoType& classType() {
  static SoType type;
  return type;
}

}  // namespace

SoVRLdmFileReader::SoVRLdmFileReader() : SoVRLdmFileReader(hxvoxora::FileSystem::current()) {}

SoVRLdmFileReader::SoVRLdmFileReader(hxvoxora::FileSystem& fileSystem) : fileSystem_(fileSystem) {
  initClass();
}

SoVRLdmFileReader::~SoVRLdmFileReader() = default;

bool SoVRLdmFileReader::openHeader(const std::string& path) {
  setHeader(std::nullopt);
  error_.clear();
  try {
    setHeader(hxvoxora::VolumeHeader::read(fileSystem_, path));
  } catch (const McException& failure) {
    error_ = failure.what();
  }
  return header() != nullptr;
}

bool SoVRLdmFileReader::hasTileBorders() const {
  return header() && header()->border > 0;
}

SoType SoVRLdmFileReader::getTypeId() const {
  return getClassTypeId();
}

void SoVRLdmFileReader::initClass() {
  const std::lock_guard lock(classMutex());
  SoLDMReader::initClass();
  if (classType().isBad()) {
    classType() =
        SoType::createType(SoLDMReader::getClassTypeId(), "SoVRLdmFileReader", &SoVRLdmFileReader::createInstance, 0);
  }
}

void SoVRLdmFileReader::exitClass() {
  const std::lock_guard lock(classMutex());
  SoType::removeType("SoVRLdmFileReader");
  classType() = SoType::badType();
}

SoType SoVRLdmFileReader::getClassTypeId() {
  const std::lock_guard lock(classMutex());
  return classType();
}

void* SoVRLdmFileReader::createInstance(SoType* /*type*/) {
  return static_cast<SoVolumeReader*>(new SoVRLdmFileReader);
}
