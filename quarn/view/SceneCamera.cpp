#include "quarn/view/SceneCamera.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "quarn/kernel/params/HxParameter.h"

namespace quarn::view {

namespace {

struct View {
  const char* name;
  Point3 direction;
  Point3 up;
};

const View VIEWS[] = {{"front", {0, -1, 0}, {0, 0, 1}}, {"back", {0, 1, 0}, {0, 0, 1}},
                      {"left", {1, 0, 0}, {0, 0, 1}},   {"right", {-1, 0, 0}, {0, 0, 1}},
                      {"top", {0, 0, 1}, {0, -1, 0}},   {"bottom", {0, 0, -1}, {0, -1, 0}}};

double dot(const Point3& a, const Point3& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Point3 cross(const Point3& a, const Point3& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Point3 normalized(const Point3& v) {
  const double length = std::sqrt(dot(v, v));
  return {v[0] / length, v[1] / length, v[2] / length};
}

/// `v`, turned about `axis` of length 1 by so many degrees.
Point3 turned(const Point3& v, const Point3& axis, double degrees) {
  const double angle = degrees * std::numbers::pi / 180;
  const Point3 aside = cross(axis, v);
  const double along = dot(axis, v) * (1 - std::cos(angle));
  Point3 result;
  for (std::size_t i = 0; i < 3; ++i) result[i] = v[i] * std::cos(angle) + aside[i] * std::sin(angle) + axis[i] * along;
  return normalized(result);
}

}  // namespace

QStringList SceneCamera::viewNames() {
  QStringList names;
  for (const View& view : VIEWS) names.append(QString::fromLatin1(view.name));
  return names;
}

bool SceneCamera::look(const QString& name) {
  for (const View& view : VIEWS) {
    if (name != QLatin1String(view.name)) continue;
    direction_ = view.direction;
    up_ = view.up;
    return true;
  }
  return false;
}

void SceneCamera::azimuth(double degrees) {
  direction_ = turned(direction_, up_, degrees);
}

void SceneCamera::elevation(double degrees) {
  const Point3 right = normalized(cross(up_, direction_));
  direction_ = turned(direction_, right, -degrees);
  up_ = turned(up_, right, -degrees);
}

void SceneCamera::zoomBy(double factor) {
  zoom_ = std::clamp(zoom_ * factor, 0.01, 100.0);
}

QString SceneCamera::state() const {
  QStringList words;
  for (const double value : {direction_[0], direction_[1], direction_[2], up_[0], up_[1], up_[2], zoom_})
    words.append(QString::fromStdString(HxParameter::printReal(value)));
  return words.join(QLatin1Char(' '));
}

bool SceneCamera::setState(const QStringList& numbers) {
  if (numbers.size() != 7) return false;
  std::array<double, 7> values;
  for (std::size_t i = 0; i < 7; ++i) {
    bool isNumber = false;
    values[i] = numbers[static_cast<qsizetype>(i)].toDouble(&isNumber);
    if (!isNumber || !std::isfinite(values[i]) || std::abs(values[i]) > 1e6) return false;
  }
  const Point3 direction{values[0], values[1], values[2]}, up{values[3], values[4], values[5]};
  const Point3 right = cross(up, direction);
  if (!(dot(right, right) > 1e-12) || !(values[6] > 0)) return false;
  direction_ = normalized(direction);
  up_ = normalized(cross(direction_, normalized(right)));
  zoom_ = std::clamp(values[6], 0.01, 100.0);
  return true;
}

}  // namespace quarn::view
