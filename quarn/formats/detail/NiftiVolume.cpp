#include "quarn/formats/detail/NiftiVolume.h"

#include <QFile>
#include <cmath>
#include <cstring>
#include <itkNiftiImageIO.h>
#include <new>
#include <span>
#include <utility>

#include "quarn/formats/detail/RawVoxels.h"
#include "quarn/formats/detail/ToolkitMessages.h"
#include "quarn/formats/detail/fault.h"

namespace quarn::formats::detail {

namespace {

/// Runs a call of the toolkit; its failures become one exception that names the file.
template <typename Call>
void callToolkit(const QString& file, Call&& call) {
  const ToolkitMessages messages(file);
  try {
    std::forward<Call>(call)();
  } catch (const itk::ExceptionObject& error) {
    QString reason = QString::fromLocal8Bit(error.GetDescription()).simplified();
    reason.remove(QStringLiteral("ITK ERROR: "));
    refuse(file, QStringLiteral("cannot be read: ") + reason);
  } catch (const std::bad_alloc&) {
    refuse(file, QStringLiteral("cannot be read: there is not enough memory for its voxels"));
  }
}

/// Writes voxels as floating point numbers, scaled.
template <typename Target>
void scale(const NiftiHeader& header, std::span<const std::byte> voxels, Target* target) {
  visitKind(header.kind, [&](auto type) {
    using Source = typename decltype(type)::type;
    for (std::size_t i = 0; i < voxels.size() / sizeof(Source); ++i) {
      Source voxel;
      std::memcpy(&voxel, voxels.data() + i * sizeof(Source), sizeof voxel);
      target[i] = static_cast<Target>(static_cast<double>(voxel) * header.slope + header.intercept);
    }
  });
}

void checkFinite(double value, const char* what, unsigned axis, const QString& file) {
  if (std::isfinite(value)) return;
  refuse(file, QStringLiteral("%1 along axis %2 is %3").arg(QLatin1String(what)).arg(axis).arg(value));
}

}  // namespace

struct NiftiVolume::Toolkit {
  itk::NiftiImageIO::Pointer io = itk::NiftiImageIO::New();
};

NiftiVolume::NiftiVolume(NiftiFile image) : image_(std::move(image)), toolkit_(std::make_unique<Toolkit>()) {
  description_.dimensions = image_.header.dimensions;
  description_.kind = image_.header.kind;
  if (image_.header.isScaled() && kind() != VoxelKind::Double) description_.kind = VoxelKind::Float;
  description_.isLabelImage = image_.header.isLabelImage;
  readDescription();
  readGeometry();
}

NiftiVolume::~NiftiVolume() = default;

void NiftiVolume::readDescription() {
  itk::NiftiImageIO& io = *toolkit_->io;
  callToolkit(image_.headerFile, [&] {
    io.SetFileName(QFile::encodeName(image_.headerFile).toStdString());
    io.ReadImageInformation();
  });
  bool isExpected = io.GetNumberOfComponents() == 1 && io.GetNumberOfDimensions() >= 3;
  for (unsigned axis = 0; isExpected && axis < io.GetNumberOfDimensions(); ++axis) {
    const std::int64_t expected = axis < 3 ? dimensions()[axis] : 1;
    isExpected = static_cast<std::int64_t>(io.GetDimensions(axis)) == expected;
  }
  if (!isExpected) refuse(image_.headerFile, QStringLiteral("changed while it was read"));
}

void NiftiVolume::readGeometry() {
  HxGeometry3& geometry = description_.geometry;
  const itk::NiftiImageIO& io = *toolkit_->io;
  for (unsigned axis = 0; axis < 3; ++axis) {
    geometry.origin[axis] = io.GetOrigin(axis) + 0.0;  // + 0.0: no negative zero
    geometry.voxelSize[axis] = io.GetSpacing(axis);
    checkFinite(geometry.origin[axis], "the origin", axis, image_.headerFile);
    checkFinite(geometry.voxelSize[axis], "the voxel size", axis, image_.headerFile);
    if (geometry.voxelSize[axis] <= 0.0) {
      refuse(image_.headerFile,
             QStringLiteral("the voxel size along axis %1 is %2").arg(axis).arg(geometry.voxelSize[axis]));
    }
    const std::vector<double> direction = io.GetDirection(axis);
    for (unsigned row = 0; row < 3; ++row) {
      geometry.direction[3 * row + axis] = direction[row] + 0.0;
      checkFinite(direction[row], "the direction", axis, image_.headerFile);
    }
  }
  geometry = image_.header.matrixGeometry.value_or(geometry);
}

void NiftiVolume::readVoxels(void* voxels, const Progress& progress) {
  const NiftiHeader& header = image_.header;
  RawVoxels raw;
  raw.file = image_.dataFile;
  raw.form = ByteStream::Form::found;
  raw.skip = header.dataOffset;
  raw.isByteSwapped = header.isByteSwapped;
  raw.kind = header.kind;
  raw.bytes = header.dataBytes();
  if (!header.isScaled()) return raw.read(voxels, progress);
  const auto sourceSize = static_cast<std::int64_t>(bytesOf(header.kind));
  const auto take = [&](std::span<const std::byte> piece, std::int64_t done) {
    if (kind() == VoxelKind::Double) {
      scale(header, piece, static_cast<double*>(voxels) + done / sourceSize);
    } else {
      scale(header, piece, static_cast<float*>(voxels) + done / sourceSize);
    }
  };
  raw.readPieces(take, progress);
}

}  // namespace quarn::formats::detail
