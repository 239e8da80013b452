#pragma once

#include <vtkSmartPointer.h>

#include "quarn/view/ScenePane.h"

class vtkActor;
class vtkPolyData;
class vtkVolume;

namespace quarn::view::detail {

/// The surface as VTK holds it.
vtkSmartPointer<vtkPolyData> polyDataOf(const Surface& surface);
void setPointColors(vtkPolyData& data, const PointColors& colors);
vtkSmartPointer<vtkActor> actorOf(vtkPolyData& data);
/// A picture in space, as bright as it is.
vtkSmartPointer<vtkActor> actorOf(const PlaneLook& plane);
/// A field as a cloud. It reads the values where the field has them.
vtkSmartPointer<vtkVolume> volumeOf(const HxUniformScalarField3& field, const ColorTransfer& colors);

}  // namespace quarn::view::detail
