#include "roitools/exchange/nrrdGeometry.h"

#include <array>
#include <cmath>
#include <optional>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"

namespace roitools {

using quarn::NrrdHeader;

namespace {

constexpr const char* ourSpace = "left-posterior-superior";

std::string excerpt(const QString& file) {
  return McException::excerpt(file.toStdString());
}

/// Signs that bring x and y of a space to ours; nothing for spaces that tell nothing of the patient.
std::optional<std::array<double, 3>> signsOf(const std::string& space) {
  if (space == ourSpace) return std::array<double, 3>{1, 1, 1};
  if (space == "left-anterior-superior") return std::array<double, 3>{1, -1, 1};
  if (space == "right-anterior-superior") return std::array<double, 3>{-1, -1, 1};
  return std::nullopt;
}

double determinant(const std::array<double, 9>& m) {
  return m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) + m[2] * (m[3] * m[7] - m[4] * m[6]);
}

bool isPerpendicular(const std::array<double, 9>& m) {
  constexpr double tolerance = 1e-4;
  for (std::size_t a = 0; a < 3; ++a) {
    const std::size_t b = (a + 1) % 3;
    if (std::abs(m[a] * m[b] + m[3 + a] * m[3 + b] + m[6 + a] * m[6 + b]) > tolerance) return false;
  }
  return true;
}

/// Without directions there may be distances all the same.
HxGeometry3 spacedGeometry(const NrrdHeader& header, std::size_t firstAxis, const QString& file) {
  HxGeometry3 geometry;
  bool isTold = !header.spacings.empty();
  for (std::size_t i = 0; i < 3 && isTold; ++i) {
    const double spacing = std::abs(header.spacings[firstAxis + i]);
    if (spacing > 0)
      geometry.voxelSize[i] = spacing;
    else
      isTold = false;
  }
  HxMessage::printf(
      isTold ? "%s: does not tell where it lies; its first voxel is taken to be at the origin"
             : "%s: does not tell where it lies; its voxels are taken to be of 1 mm, the first at the origin",
      excerpt(file).c_str());
  return geometry;
}

HxGeometry3 directedGeometry(const NrrdHeader& header, std::size_t firstAxis, const QString& file) {
  const std::array<double, 3> signs = signsOf(header.space).value_or(std::array<double, 3>{1, 1, 1});
  HxGeometry3 geometry;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const NrrdHeader::Vector& step = *header.spaceDirections[firstAxis + axis];
    const double length = std::hypot(step[0], step[1], step[2]);
    geometry.voxelSize[axis] = length;
    for (std::size_t i = 0; i < 3; ++i) geometry.direction[3 * i + axis] = signs[i] * step[i] / length + 0.0;
    if (!header.spaceOrigin.empty()) geometry.origin[axis] = signs[axis] * header.spaceOrigin[axis];
  }
  constexpr double flat = 1e-6;
  if (!(std::abs(determinant(geometry.direction)) > flat))
    throw McException(excerpt(file) + ": field \"space directions\": the axes do not span a volume");
  return geometry;
}

}  // namespace

HxGeometry3 geometryOf(const NrrdHeader& header, const QString& file) {
  const std::size_t firstAxis = header.sizes.size() - 3;
  bool hasDirections = header.spaceDimension == 3 && !header.spaceDirections.empty();
  for (std::size_t i = 0; i < 3 && hasDirections; ++i)
    hasDirections = header.spaceDirections[firstAxis + i].has_value();
  if (!hasDirections) return spacedGeometry(header, firstAxis, file);
  const HxGeometry3 geometry = directedGeometry(header, firstAxis, file);
  if (!signsOf(header.space))
    HxMessage::printf("%s: its space \"%s\" tells nothing of the patient; it is taken for %s", excerpt(file).c_str(),
                      header.space.c_str(), ourSpace);
  if (!isPerpendicular(geometry.direction))
    HxMessage::printf("%s: its axes are not perpendicular", excerpt(file).c_str());
  return geometry;
}

void setGeometry(NrrdHeader& header, const HxGeometry3& geometry, std::size_t listAxes) {
  header.space = ourSpace;
  header.spaceDimension = 3;
  header.spaceOrigin.assign(geometry.origin.begin(), geometry.origin.end());
  header.spaceDirections.assign(listAxes, std::nullopt);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    NrrdHeader::Vector step(3);
    // The sum makes 0 of -0.
    for (std::size_t i = 0; i < 3; ++i) step[i] = geometry.direction[3 * i + axis] * geometry.voxelSize[axis] + 0.0;
    header.spaceDirections.emplace_back(step);
  }
}

}  // namespace roitools
