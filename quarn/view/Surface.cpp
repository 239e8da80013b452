#include "quarn/view/Surface.h"

#include <cmath>

#include "quarn/view/detail/SurfaceNet.h"

namespace quarn::view {

namespace {

using Vector = std::array<float, 3>;

Vector pointOf(const Surface& surface, std::uint32_t i) {
  return {surface.points[3 * i], surface.points[3 * i + 1], surface.points[3 * i + 2]};
}

Vector between(const Vector& a, const Vector& b) {
  return {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
}

float squaredLength(const Vector& v) {
  return v[0] * v[0] + v[1] * v[1] + v[2] * v[2];
}

void addTriangle(Surface& surface, std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  surface.triangles.insert(surface.triangles.end(), {a, b, c});
}

/// Cut along the shorter diagonal.
void addQuad(Surface& surface, const std::array<std::uint32_t, 4>& quad, bool turned) {
  const auto [a, b, c, d] = turned ? std::array{quad[0], quad[3], quad[2], quad[1]} : quad;
  const float ac = squaredLength(between(pointOf(surface, a), pointOf(surface, c)));
  const float bd = squaredLength(between(pointOf(surface, b), pointOf(surface, d)));
  addTriangle(surface, a, b, ac <= bd ? c : d);
  addTriangle(surface, ac <= bd ? a : b, c, d);
}

void addNormal(Surface& surface, std::uint32_t i, const Vector& normal) {
  for (std::size_t axis = 0; axis < 3; ++axis) surface.normals[3 * i + axis] += normal[axis];
}

/// Sums of what the triangles around a point have, the larger ones counting more.
void addNormals(Surface& surface) {
  surface.normals.assign(surface.points.size(), 0);
  for (std::size_t t = 0; t < surface.triangles.size(); t += 3) {
    const std::uint32_t a = surface.triangles[t], b = surface.triangles[t + 1], c = surface.triangles[t + 2];
    const Vector u = between(pointOf(surface, a), pointOf(surface, b));
    const Vector v = between(pointOf(surface, a), pointOf(surface, c));
    const Vector normal{u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
    for (const std::uint32_t i : {a, b, c}) addNormal(surface, i, normal);
  }
  for (std::size_t i = 0; i < surface.normals.size(); i += 3) {
    float* normal = surface.normals.data() + i;
    const float length = std::sqrt(squaredLength({normal[0], normal[1], normal[2]}));
    for (int axis = 0; axis < 3; ++axis) normal[axis] = length > 0 ? normal[axis] / length : (axis == 2 ? 1.0f : 0.0f);
  }
}

/// From voxels with a shell around them to the world.
void placePoints(Surface& surface, const detail::SurfaceNet& net, const SbVec3i32& first, int level,
                 const LatticeMap& map) {
  const double scale = std::ldexp(1.0, level);
  surface.points.reserve(3 * net.points.size());
  for (const Vector& point : net.points) {
    Point3 index;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double voxel = double{point[axis]} - 1 + first[static_cast<int>(axis)];
      index[axis] = (voxel + 0.5) * scale - 0.5;
    }
    for (const double value : map.toWorld(index)) surface.points.push_back(static_cast<float>(value));
  }
}

}  // namespace

SurfaceHandle makeSurface(const MaskBits& bits, int level, const LatticeMap& map, const CancelCheck& isCancelled) {
  detail::SurfaceNet net;
  if (!net.build(bits, isCancelled) || !net.smooth(isCancelled)) return nullptr;
  auto surface = std::make_shared<Surface>();
  placePoints(*surface, net, bits.box().getMin(), level, map);
  surface->triangles.reserve(6 * net.quads.size());
  for (const auto& quad : net.quads) addQuad(*surface, quad, map.isMirrored());
  addNormals(*surface);
  return surface;
}

}  // namespace quarn::view
