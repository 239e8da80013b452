#include "quarn/view/ScenePane.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <tuple>
#include <vtkActor.h>
#include <vtkCamera.h>
#include <vtkLightKit.h>
#include <vtkMapper.h>
#include <vtkNew.h>
#include <vtkPolyData.h>
#include <vtkProperty.h>
#include <vtkRenderer.h>
#include <vtkUnsignedCharArray.h>
#include <vtkVolume.h>

#include "quarn/base/McException.h"
#include "quarn/view/detail/OffscreenWindow.h"
#include "quarn/view/detail/vtkObjects.h"

namespace quarn::view {

namespace {

constexpr double VIEW_ANGLE = 24;
constexpr int MOST_LAYERS = 8;

struct Drawn {
  SurfaceHandle surface;
  vtkSmartPointer<vtkPolyData> data;
  vtkSmartPointer<vtkActor> actor;
  PointColors pointColors;
};

/// An order of looks that has nothing to do with the order in which they came.
auto keyOf(const SurfaceLook& look) {
  return std::tie(look.opacity, look.color.r, look.color.g, look.color.b, look.surface->points,
                  look.surface->triangles);
}

auto shortKeyOf(const SurfaceLook& look) {
  return std::tuple(look.opacity, look.color.r, look.color.g, look.color.b, look.surface->points.size());
}

bool isBefore(const SurfaceLook& a, const SurfaceLook& b) {
  if (shortKeyOf(a) != shortKeyOf(b)) return shortKeyOf(a) < shortKeyOf(b);
  return a.surface != b.surface && keyOf(a) < keyOf(b);
}

}  // namespace

struct ScenePane::Scene {
  vtkNew<detail::OffscreenWindow> window;
  vtkNew<vtkRenderer> renderer;
  std::map<const Surface*, Drawn> surfaces;
  std::vector<vtkSmartPointer<vtkActor>> shown;  ///< of `surfaces`, in the order of drawing
  std::vector<vtkSmartPointer<vtkActor>> planes;
  vtkSmartPointer<vtkVolume> volume;
  bool isTranslucent = false;

  void hideSurfaces();
  void forgetUnused();
  Drawn& drawnFor(const SurfaceHandle& surface);
  void show(const SurfaceLook& look);
  void aim(const SceneCamera& camera, const Picture& picture);
};

ScenePane::ScenePane() : scene_(std::make_unique<Scene>()) {
  scene_->window->AddRenderer(scene_->renderer);
  vtkNew<vtkLightKit> lights;
  lights->SetKeyLightIntensity(1.0);
  lights->SetKeyLightWarmth(0.53);
  lights->SetKeyToFillRatio(2.2);
  lights->SetKeyToHeadRatio(3.2);
  lights->SetKeyToBackRatio(3.4);
  lights->AddLightsToRenderer(scene_->renderer);
  scene_->renderer->SetMaximumNumberOfPeels(MOST_LAYERS);
  scene_->renderer->SetOcclusionRatio(0.001);
  // Several samples a pixel take a driver without a card three times as long as smoothing the edges afterwards.
  scene_->window->SetMultiSamples(0);
  scene_->renderer->SetUseFXAA(true);
}

ScenePane::~ScenePane() = default;

void ScenePane::Scene::hideSurfaces() {
  for (const auto& actor : shown) renderer->RemoveActor(actor);
  shown.clear();
}

void ScenePane::Scene::forgetUnused() {
  std::erase_if(surfaces, [](const auto& entry) { return entry.second.surface.use_count() == 1; });
}

Drawn& ScenePane::Scene::drawnFor(const SurfaceHandle& surface) {
  Drawn& drawn = surfaces[surface.get()];
  if (!drawn.surface) {
    drawn.surface = surface;
    drawn.data = detail::polyDataOf(*surface);
    drawn.actor = detail::actorOf(*drawn.data);
  }
  return drawn;
}

void ScenePane::Scene::show(const SurfaceLook& look) {
  Drawn& drawn = drawnFor(look.surface);
  if (drawn.pointColors != look.pointColors) {
    drawn.pointColors = look.pointColors;
    detail::setPointColors(*drawn.data, look.pointColors);
  }
  drawn.actor->GetMapper()->SetScalarVisibility(look.pointColors != nullptr);
  drawn.actor->GetProperty()->SetColor(double{look.color.r}, double{look.color.g}, double{look.color.b});
  drawn.actor->GetProperty()->SetOpacity(double{look.opacity});
  // Surfaces are closed: nobody sees the inside of what is opaque.
  drawn.actor->GetProperty()->SetBackfaceCulling(look.opacity >= 1);
  isTranslucent = isTranslucent || look.opacity < 1;
  renderer->AddActor(drawn.actor);
  shown.push_back(drawn.actor);
}

void ScenePane::setSurfaces(const std::vector<SurfaceLook>& looks) {
  std::vector<const SurfaceLook*> ordered;
  for (const SurfaceLook& look : looks)
    if (look.surface && look.surface->triangleCount() > 0) ordered.push_back(&look);
  std::sort(ordered.begin(), ordered.end(), [](const auto* a, const auto* b) { return isBefore(*a, *b); });
  scene_->hideSurfaces();
  scene_->isTranslucent = false;
  for (const SurfaceLook* look : ordered) scene_->show(*look);
  scene_->forgetUnused();
}

void ScenePane::setPlanes(const std::vector<PlaneLook>& planes) {
  for (const auto& actor : scene_->planes) scene_->renderer->RemoveActor(actor);
  scene_->planes.clear();
  for (const PlaneLook& plane : planes) {
    scene_->planes.push_back(detail::actorOf(plane));
    scene_->renderer->AddActor(scene_->planes.back());
  }
}

void ScenePane::setVolume(const HxUniformScalarField3* field, const ColorTransfer* colors) {
  if (scene_->volume) scene_->renderer->RemoveVolume(scene_->volume);
  scene_->volume = field && colors ? detail::volumeOf(*field, *colors) : nullptr;
  if (scene_->volume) scene_->renderer->AddVolume(scene_->volume);
}

void ScenePane::Scene::aim(const SceneCamera& camera, const Picture& picture) {
  const Point3 centre = picture.bounds.centre();
  const double angle = VIEW_ANGLE * std::numbers::pi / 180;
  const double narrowness = std::min(1.0, static_cast<double>(picture.width) / picture.height);
  const double distance = picture.bounds.radius() * 0.92 / std::sin(angle / 2) / narrowness;
  Point3 place;
  for (std::size_t i = 0; i < 3; ++i) place[i] = centre[i] + camera.direction()[i] * distance;
  vtkCamera& eye = *renderer->GetActiveCamera();
  eye.SetFocalPoint(centre.data());
  eye.SetPosition(place.data());
  eye.SetViewUp(camera.up().data());
  // Zooming narrows the angle, so that nothing is cut off that lies before the camera.
  eye.SetViewAngle(2 * std::atan(std::tan(angle / 2) / camera.zoom()) * 180 / std::numbers::pi);
  renderer->ResetCameraClippingRange();
}

QImage ScenePane::render(const SceneCamera& camera, const Picture& picture) {
  detail::OffscreenWindow& window = *scene_->window;
  window.MakeCurrent();
  window.SetSize(picture.width, picture.height);
  const std::int64_t pixels = std::int64_t{picture.width} * picture.height;
  scene_->renderer->SetUseDepthPeeling(scene_->isTranslucent);
  scene_->renderer->SetBackground(double{picture.background.r}, double{picture.background.g},
                                  double{picture.background.b});
  scene_->aim(camera, picture);
  window.Render();

  vtkNew<vtkUnsignedCharArray> colors;
  if (!window.GetPixelData(0, 0, picture.width - 1, picture.height - 1, 0, colors.Get(), 0) ||
      colors->GetNumberOfValues() < 3 * pixels)
    throw McException("The picture cannot be read back from the OpenGL driver.");
  // The lowest row comes first, rows without padding.
  const QImage upsideDown(colors->GetPointer(0), picture.width, picture.height, qsizetype{3} * picture.width,
                          QImage::Format_RGB888);
  return upsideDown.mirrored().convertToFormat(QImage::Format_RGB32);
}

}  // namespace quarn::view
