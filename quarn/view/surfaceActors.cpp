#include <QImage>
#include <vtkActor.h>
#include <vtkCellArray.h>
#include <vtkFloatArray.h>
#include <vtkIdTypeArray.h>
#include <vtkImageData.h>
#include <vtkNew.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkPolyDataMapper.h>
#include <vtkProperty.h>
#include <vtkShaderProperty.h>
#include <vtkTexture.h>
#include <vtkTypeInt32Array.h>
#include <vtkUnsignedCharArray.h>

#include "quarn/view/detail/vtkObjects.h"

namespace quarn::view::detail {

namespace {

vtkSmartPointer<vtkFloatArray> triplesOf(const std::vector<float>& values) {
  auto array = vtkSmartPointer<vtkFloatArray>::New();
  array->SetNumberOfComponents(3);
  array->SetNumberOfTuples(static_cast<vtkIdType>(values.size() / 3));
  std::copy(values.begin(), values.end(), array->GetPointer(0));
  return array;
}

vtkSmartPointer<vtkTexture> textureOf(const QImage& picture) {
  const QImage rgba = picture.convertToFormat(QImage::Format_RGBA8888);
  vtkNew<vtkImageData> data;
  data->SetDimensions(rgba.width(), rgba.height(), 1);
  data->AllocateScalars(VTK_UNSIGNED_CHAR, 4);
  for (int y = 0; y < rgba.height(); ++y)
    std::copy_n(rgba.constScanLine(y), 4 * static_cast<std::size_t>(rgba.width()),
                static_cast<unsigned char*>(data->GetScalarPointer(0, y, 0)));
  auto texture = vtkSmartPointer<vtkTexture>::New();
  texture->SetInputData(data);
  texture->SetColorModeToDirectScalars();
  texture->InterpolateOn();
  texture->RepeatOff();
  texture->EdgeClampOn();
  return texture;
}

vtkSmartPointer<vtkPolyData> rectangleOf(const PlaneLook& plane) {
  vtkNew<vtkPoints> points;
  vtkNew<vtkFloatArray> places;
  places->SetNumberOfComponents(2);
  const vtkIdType corners[4] = {0, 1, 2, 3};
  for (const auto& [u, v] : {std::pair(0.0, 0.0), std::pair(1.0, 0.0), std::pair(1.0, 1.0), std::pair(0.0, 1.0)}) {
    Point3 point = plane.origin;
    for (std::size_t i = 0; i < 3; ++i) point[i] += u * plane.right[i] + v * plane.down[i];
    points->InsertNextPoint(point.data());
    places->InsertNextTuple2(u, v);
  }
  vtkNew<vtkCellArray> cells;
  cells->InsertNextCell(4, corners);
  auto data = vtkSmartPointer<vtkPolyData>::New();
  data->SetPoints(points);
  data->SetPolys(cells);
  data->GetPointData()->SetTCoords(places);
  return data;
}

}  // namespace

vtkSmartPointer<vtkPolyData> polyDataOf(const Surface& surface) {
  vtkNew<vtkPoints> points;
  points->SetData(triplesOf(surface.points));
  vtkNew<vtkTypeInt32Array> corners;
  corners->SetNumberOfValues(static_cast<vtkIdType>(surface.triangles.size()));
  std::copy(surface.triangles.begin(), surface.triangles.end(), corners->GetPointer(0));
  vtkNew<vtkCellArray> cells;
  cells->SetData(3, corners);
  auto data = vtkSmartPointer<vtkPolyData>::New();
  data->SetPoints(points);
  data->SetPolys(cells);
  data->GetPointData()->SetNormals(triplesOf(surface.normals));
  return data;
}

void setPointColors(vtkPolyData& data, const PointColors& colors) {
  if (!colors) {
    data.GetPointData()->SetScalars(nullptr);
    return;
  }
  vtkNew<vtkUnsignedCharArray> array;
  array->SetNumberOfComponents(3);
  array->SetNumberOfTuples(static_cast<vtkIdType>(colors->size() / 3));
  std::copy(colors->begin(), colors->end(), array->GetPointer(0));
  data.GetPointData()->SetScalars(array);
}

vtkSmartPointer<vtkActor> actorOf(vtkPolyData& data) {
  vtkNew<vtkPolyDataMapper> mapper;
  mapper->SetInputData(&data);
  mapper->SetColorModeToDirectScalars();
  auto actor = vtkSmartPointer<vtkActor>::New();
  actor->SetMapper(mapper);
  vtkProperty& look = *actor->GetProperty();
  look.SetInterpolationToPhong();
  look.SetAmbient(0.18);
  look.SetDiffuse(0.9);
  look.SetSpecular(0.18);
  look.SetSpecularPower(18);
  return actor;
}

vtkSmartPointer<vtkActor> actorOf(const PlaneLook& plane) {
  vtkNew<vtkPolyDataMapper> mapper;
  mapper->SetInputData(rectangleOf(plane));
  auto actor = vtkSmartPointer<vtkActor>::New();
  actor->SetMapper(mapper);
  actor->SetTexture(textureOf(plane.picture));
  actor->GetProperty()->LightingOff();
  actor->ForceOpaqueOn();
  // Pixels are there or not; nothing has to be mixed.
  actor->GetShaderProperty()->AddFragmentShaderReplacement(
      "//VTK::TCoord::Impl", false, "//VTK::TCoord::Impl\n  if (gl_FragData[0].a < 0.5) discard;\n", false);
  return actor;
}

}  // namespace quarn::view::detail
