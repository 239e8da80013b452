#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>

#include "quarn/base/McVec3.h"

/// An axis-aligned box: six numbers in the order xmin, xmax, ymin, ymax, zmin, zmax.
///
/// A box is empty when a maximum is below its minimum on any axis. A default constructed box is *the* empty box: every
/// minimum is the largest T, every maximum the lowest. Extending the empty box by anything gives that thing.
template <class T>
class McBox3 {
public:
  using Point = McVec3<T>;

  constexpr McBox3() noexcept = default;
  constexpr McBox3(T xmin, T xmax, T ymin, T ymax, T zmin, T zmax) noexcept
      : bounds_{xmin, xmax, ymin, ymax, zmin, zmax} {}
  constexpr McBox3(const Point& min, const Point& max) noexcept : McBox3(min.x, max.x, min.y, max.y, min.z, max.z) {}

  constexpr void setValue(T xmin, T xmax, T ymin, T ymax, T zmin, T zmax) noexcept {
    bounds_ = {xmin, xmax, ymin, ymax, zmin, zmax};
  }
  constexpr void setValue(const Point& min, const Point& max) noexcept {
    setValue(min.x, max.x, min.y, max.y, min.z, max.z);
  }

  constexpr Point getMin() const noexcept { return {bounds_[0], bounds_[2], bounds_[4]}; }
  constexpr Point getMax() const noexcept { return {bounds_[1], bounds_[3], bounds_[5]}; }

  /// 0 to 5 in storage order; the six numbers are contiguous.
  constexpr T& operator[](int index) noexcept { return bounds_[static_cast<std::size_t>(index)]; }
  constexpr const T& operator[](int index) const noexcept { return bounds_[static_cast<std::size_t>(index)]; }
  constexpr T* data() noexcept { return bounds_.data(); }
  constexpr const T* data() const noexcept { return bounds_.data(); }

  constexpr bool isEmpty() const noexcept {
    return bounds_[1] < bounds_[0] || bounds_[3] < bounds_[2] || bounds_[5] < bounds_[4];
  }

  /// The smaller minimum and the larger maximum per axis, also when one of the boxes is empty.
  constexpr void extendBy(const McBox3& other) noexcept {
    for (int i = 0; i < 6; i += 2) {
      (*this)[i] = std::min((*this)[i], other[i]);
      (*this)[i + 1] = std::max((*this)[i + 1], other[i + 1]);
    }
  }
  constexpr void extendBy(const Point& point) noexcept { extendBy(McBox3(point, point)); }

  /// Bounds count as inside.
  constexpr bool contains(const Point& p) const noexcept {
    return bounds_[0] <= p.x && p.x <= bounds_[1] && bounds_[2] <= p.y && p.y <= bounds_[3] && bounds_[4] <= p.z &&
           p.z <= bounds_[5];
  }
  /// True for every empty `other`.
  constexpr bool contains(const McBox3& other) const noexcept {
    return other.isEmpty() || (contains(other.getMin()) && contains(other.getMax()));
  }

  friend constexpr bool operator==(const McBox3&, const McBox3&) noexcept = default;

private:
  static constexpr T kMax = std::numeric_limits<T>::max();
  static constexpr T kLowest = std::numeric_limits<T>::lowest();

  std::array<T, 6> bounds_{kMax, kLowest, kMax, kLowest, kMax, kLowest};
};
