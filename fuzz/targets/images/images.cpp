#include <algorithm>
#include <cmath>
#include <cstdint>

#include "fuzz/targets/HostScope.h"
#include "fuzz/targets/properties.h"
#include "fuzz/targets/targets.h"
#include "quarn/formats/readDicom.h"
#include "quarn/formats/readMetaImage.h"
#include "quarn/formats/readNifti.h"
#include "quarn/formats/readNrrd.h"
#include "quarn/formats/readTiff.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"

namespace fuzz {

namespace {

using Field = McHandle<HxUniformScalarField3>;
using Reader = Field (*)(const QString& file, const HxLoadOptions& options);

void requireSoundField(const HxUniformScalarField3& field) {
  const McDim3l size = field.latticeDimensions();
  require(size.nx > 0 && size.ny > 0 && size.nz > 0, "a field has voxels");
  const HxGeometry3 geometry = field.geometry();
  for (std::size_t axis = 0; axis < 3; ++axis) {
    require(geometry.voxelSize[axis] > 0 && std::isfinite(geometry.voxelSize[axis]), "voxels have a size");
    require(std::isfinite(geometry.origin[axis]), "a field lies somewhere");
  }
  for (const double number : geometry.direction) require(std::abs(number) <= 1.001, "directions have the length 1");
}

bool isSameField(const HxUniformScalarField3& a, const HxUniformScalarField3& b) {
  if (a.latticeDimensions() != b.latticeDimensions() || a.primType() != b.primType()) return false;
  const auto bytes = static_cast<std::size_t>(a.voxelCount()) * HxUniformScalarField3::primTypeSize(a.primType());
  const auto* const first = static_cast<const std::byte*>(a.data());
  return a.geometry() == b.geometry() && std::equal(first, first + bytes, static_cast<const std::byte*>(b.data()));
}

/// Reads a file as it is, once more, and as labels.
bool image(const std::string& name, std::span<const std::byte> input, Reader read) {
  HostScope host(name, input);
  Field field, again, labels;
  HxLoadOptions asLabels;
  asLabels.kind = QStringLiteral("label");
  const std::string refusal = host.refusalOf([&] { field = read(host.file(), {}); });
  const std::string secondRefusal = host.refusalOf([&] { again = read(host.file(), {}); });
  require(refusal == secondRefusal, "the same is refused for the same reason: " + refusal + " / " + secondRefusal);
  host.refusalOf([&] { labels = read(host.file(), asLabels); });
  require(host.files().list("/v").size() == 1, "nothing is written");
  if (labels) require(dynamic_cast<HxUniformLabelField3*>(labels.get()), "labels make a label field");
  if (!field) return false;
  requireSoundField(*field);
  require(isSameField(*field, *again), "the same is read the same");
  if (labels) require(labels->geometry() == field->geometry(), "labels lie where the image does");
  return true;
}

}  // namespace

bool nrrd(std::span<const std::byte> input) {
  return image("image.nrrd", input, &quarn::formats::readNrrd);
}

bool metaImage(std::span<const std::byte> input) {
  return image("image.mha", input, &quarn::formats::readMetaImage);
}

bool nifti(std::span<const std::byte> input) {
  return image("image.nii", input, &quarn::formats::readNifti);
}

bool tiff(std::span<const std::byte> input) {
  return image("image.tif", input, &quarn::formats::readTiff);
}

bool dicom(std::span<const std::byte> input) {
  return image("image.dcm", input, &quarn::formats::readDicomFile);
}

}  // namespace fuzz
