#pragma once

/// Three numbers along x, y, z. Arithmetic is per component, in T.
template <class T>
struct McVec3 {
  T x = 0;
  T y = 0;
  T z = 0;

  constexpr McVec3() noexcept = default;
  constexpr McVec3(T xValue, T yValue, T zValue) noexcept : x(xValue), y(yValue), z(zValue) {}

  /// 0, 1, 2 are x, y, z.
  constexpr T& operator[](int axis) noexcept { return axis == 0 ? x : axis == 1 ? y : z; }
  constexpr const T& operator[](int axis) const noexcept { return axis == 0 ? x : axis == 1 ? y : z; }

  friend constexpr bool operator==(const McVec3&, const McVec3&) noexcept = default;
  friend constexpr McVec3 operator+(const McVec3& a, const McVec3& b) noexcept {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
  }
  friend constexpr McVec3 operator-(const McVec3& a, const McVec3& b) noexcept {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
  }
};
