#include "quarn/formats/detail/NiftiVolume.h"

#include <QFile>
#include <cmath>
#include <itkNiftiImageIO.h>
#include <new>
#include <utility>

#include "quarn/formats/detail/ToolkitMessages.h"
#include "quarn/formats/detail/fault.h"
#include "quarn/formats/detail/nonFinite.h"

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

VoxelKind voxelKind(itk::IOComponentEnum type, const QString& file) {
  switch (type) {
    case itk::IOComponentEnum::UCHAR:
      return VoxelKind::UInt8;
    case itk::IOComponentEnum::CHAR:
      return VoxelKind::Int8;
    case itk::IOComponentEnum::USHORT:
      return VoxelKind::UInt16;
    case itk::IOComponentEnum::SHORT:
      return VoxelKind::Int16;
    case itk::IOComponentEnum::UINT:
      return VoxelKind::UInt32;
    case itk::IOComponentEnum::INT:
      return VoxelKind::Int32;
    case itk::IOComponentEnum::ULONG:
    case itk::IOComponentEnum::ULONGLONG:
      return VoxelKind::UInt64;
    case itk::IOComponentEnum::LONG:
    case itk::IOComponentEnum::LONGLONG:
      return VoxelKind::Int64;
    case itk::IOComponentEnum::FLOAT:
      return VoxelKind::Float;
    case itk::IOComponentEnum::DOUBLE:
      return VoxelKind::Double;
    default:
      break;
  }
  refuse(file, QStringLiteral("holds voxels of the unknown type \"%1\"")
                   .arg(QString::fromStdString(itk::ImageIOBase::GetComponentTypeAsString(type))));
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
  kind_ = voxelKind(io.GetComponentType(), image_.headerFile);
}

void NiftiVolume::readGeometry() {
  const itk::NiftiImageIO& io = *toolkit_->io;
  for (unsigned axis = 0; axis < 3; ++axis) {
    geometry_.origin[axis] = io.GetOrigin(axis) + 0.0;  // + 0.0: no negative zero
    geometry_.voxelSize[axis] = io.GetSpacing(axis);
    checkFinite(geometry_.origin[axis], "the origin", axis, image_.headerFile);
    checkFinite(geometry_.voxelSize[axis], "the voxel size", axis, image_.headerFile);
    if (geometry_.voxelSize[axis] <= 0.0) {
      refuse(image_.headerFile,
             QStringLiteral("the voxel size along axis %1 is %2").arg(axis).arg(geometry_.voxelSize[axis]));
    }
    const std::vector<double> direction = io.GetDirection(axis);
    for (unsigned row = 0; row < 3; ++row) {
      geometry_.direction[3 * row + axis] = direction[row] + 0.0;
      checkFinite(direction[row], "the direction", axis, image_.headerFile);
    }
  }
}

void NiftiVolume::readVoxels(void* voxels) {
  itk::NiftiImageIO& io = *toolkit_->io;
  itk::ImageIORegion everything(io.GetNumberOfDimensions());
  for (unsigned axis = 0; axis < io.GetNumberOfDimensions(); ++axis) everything.SetSize(axis, io.GetDimensions(axis));
  callToolkit(image_.headerFile, [&] {
    io.SetIORegion(everything);
    io.Read(voxels);
  });
  restoreNonFinite(image_, kind_, voxels);
}

}  // namespace quarn::formats::detail
