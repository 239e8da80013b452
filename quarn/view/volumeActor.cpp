#include <algorithm>
#include <cmath>
#include <vtkColorTransferFunction.h>
#include <vtkDataArray.h>
#include <vtkFixedPointVolumeRayCastMapper.h>
#include <vtkImageData.h>
#include <vtkMatrix4x4.h>
#include <vtkNew.h>
#include <vtkPiecewiseFunction.h>
#include <vtkPointData.h>
#include <vtkVolume.h>
#include <vtkVolumeProperty.h>

#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/view/ColorTransfer.h"
#include "quarn/view/detail/vtkObjects.h"

namespace quarn::view::detail {

namespace {

/// A larger field is thinned out to this many voxels along each axis.
constexpr std::int64_t FINEST = 256;
constexpr int STEPS = 64;
constexpr int LAST_SHADE = 255;

using Thinning = std::array<std::int64_t, 3>;

Thinning thinningOf(const McDim3l& dimensions) {
  Thinning every;
  for (int axis = 0; axis < 3; ++axis) every[static_cast<std::size_t>(axis)] = (dimensions[axis] + FINEST - 1) / FINEST;
  return every;
}

/// Where a value lies between the ends of the colours.
std::uint8_t shadeOf(double value, const ColorTransfer& colors) {
  const double width = colors.maximum() - colors.minimum();
  const double place = width == 0 ? 0 : (value - colors.minimum()) / width;
  return static_cast<std::uint8_t>(place > 0 ? std::lround(std::min(place, 1.0) * LAST_SHADE) : 0);
}

/// The field in 256 shades between the ends of the colours: what they can tell apart.
vtkSmartPointer<vtkImageData> shadesOf(const HxUniformScalarField3& field, const ColorTransfer& colors) {
  const McDim3l dimensions = field.latticeDimensions();
  const Thinning every = thinningOf(dimensions);
  std::array<int, 3> size;
  for (int axis = 0; axis < 3; ++axis) {
    const auto i = static_cast<std::size_t>(axis);
    size[i] = static_cast<int>((dimensions[axis] + every[i] - 1) / every[i]);
  }
  const auto voxelSize = field.geometry().voxelSize;
  auto image = vtkSmartPointer<vtkImageData>::New();
  image->SetDimensions(size.data());
  image->SetSpacing(voxelSize[0] * static_cast<double>(every[0]), voxelSize[1] * static_cast<double>(every[1]),
                    voxelSize[2] * static_cast<double>(every[2]));
  image->AllocateScalars(VTK_UNSIGNED_CHAR, 1);
  auto* shade = static_cast<std::uint8_t*>(image->GetScalarPointer());
  field.visitValues([&](const auto* values) {
    for (std::int64_t z = 0; z < dimensions.nz; z += every[2])
      for (std::int64_t y = 0; y < dimensions.ny; y += every[1])
        for (std::int64_t x = 0; x < dimensions.nx; x += every[0])
          *shade++ = shadeOf(static_cast<double>(values[(z * dimensions.ny + y) * dimensions.nx + x]), colors);
  });
  return image;
}

vtkSmartPointer<vtkMatrix4x4> placeOf(const HxGeometry3& geometry) {
  auto matrix = vtkSmartPointer<vtkMatrix4x4>::New();
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column)
      matrix->SetElement(row, column, geometry.direction[static_cast<std::size_t>(3 * row + column)]);
    matrix->SetElement(row, 3, geometry.origin[static_cast<std::size_t>(row)]);
  }
  return matrix;
}

/// Colours of the colormap. Where it is opaque throughout, low values are clear and high ones dense.
void setTransfer(vtkVolumeProperty& look, const ColorTransfer& colors) {
  vtkNew<vtkColorTransferFunction> color;
  vtkNew<vtkPiecewiseFunction> opacity;
  const bool isTransparent = colors.isTransparent();
  const int steps = colors.isDiscrete() ? LAST_SHADE : STEPS;
  for (int i = 0; i <= steps; ++i) {
    const double place = static_cast<double>(i) / steps;
    const ColorTransfer::Color c = colors(colors.minimum() + place * (colors.maximum() - colors.minimum()));
    color->AddRGBPoint(place * LAST_SHADE, double{c.r}, double{c.g}, double{c.b});
    opacity->AddPoint(place * LAST_SHADE, isTransparent ? double{c.alpha} : std::max(0.0, (place - 0.2) / 0.8) * 0.6);
  }
  look.SetColor(color);
  look.SetScalarOpacity(opacity);
}

}  // namespace

vtkSmartPointer<vtkVolume> volumeOf(const HxUniformScalarField3& field, const ColorTransfer& colors) {
  const HxGeometry3 geometry = field.geometry();
  vtkNew<vtkFixedPointVolumeRayCastMapper> mapper;
  mapper->SetInputData(shadesOf(field, colors));
  vtkNew<vtkVolumeProperty> look;
  setTransfer(*look, colors);
  if (colors.isDiscrete()) {
    look->SetInterpolationTypeToNearest();
  } else {
    look->SetInterpolationTypeToLinear();
  }
  look->SetScalarOpacityUnitDistance(*std::min_element(geometry.voxelSize.begin(), geometry.voxelSize.end()));
  look->ShadeOn();
  look->SetAmbient(0.25);
  look->SetDiffuse(0.8);
  look->SetSpecular(0.1);
  auto volume = vtkSmartPointer<vtkVolume>::New();
  volume->SetMapper(mapper);
  volume->SetProperty(look);
  volume->SetUserMatrix(placeOf(geometry));
  return volume;
}

}  // namespace quarn::view::detail
