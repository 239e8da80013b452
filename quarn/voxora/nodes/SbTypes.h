#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

/// Values of the toolkit. Boxes of integers hold voxel indices, both corners inclusive; boxes of floats hold world
/// coordinates. Axes are numbered x = 0, y = 1, z = 2.

/// Two 32-bit integers.
class SbVec2i32 {
public:
  constexpr SbVec2i32() = default;
  constexpr SbVec2i32(std::int32_t x, std::int32_t y) : v_{x, y} {}

  constexpr std::int32_t operator[](int axis) const { return v_[axis]; }
  constexpr std::int32_t& operator[](int axis) { return v_[axis]; }
  constexpr void setValue(std::int32_t x, std::int32_t y) { *this = SbVec2i32(x, y); }
  friend constexpr bool operator==(const SbVec2i32&, const SbVec2i32&) = default;

private:
  std::int32_t v_[2] = {0, 0};
};

/// Three 32-bit integers: a voxel, or the number of voxels along each axis.
class SbVec3i32 {
public:
  constexpr SbVec3i32() = default;
  constexpr SbVec3i32(std::int32_t x, std::int32_t y, std::int32_t z) : v_{x, y, z} {}

  constexpr std::int32_t operator[](int axis) const { return v_[axis]; }
  constexpr std::int32_t& operator[](int axis) { return v_[axis]; }
  constexpr void setValue(std::int32_t x, std::int32_t y, std::int32_t z) { *this = SbVec3i32(x, y, z); }
  friend constexpr bool operator==(const SbVec3i32&, const SbVec3i32&) = default;

private:
  std::int32_t v_[3] = {0, 0, 0};
};

/// Three floats.
class SbVec3f {
public:
  constexpr SbVec3f() = default;
  constexpr SbVec3f(float x, float y, float z) : v_{x, y, z} {}

  constexpr float operator[](int axis) const { return v_[axis]; }
  constexpr float& operator[](int axis) { return v_[axis]; }
  constexpr void setValue(float x, float y, float z) { *this = SbVec3f(x, y, z); }
  friend constexpr bool operator==(const SbVec3f&, const SbVec3f&) = default;

private:
  float v_[3] = {0, 0, 0};
};

/// A rectangle of pixels, both corners inclusive. Corners are kept as they are given, also when xmin > xmax.
class SbBox2i32 {
public:
  constexpr SbBox2i32() = default;
  constexpr SbBox2i32(const SbVec2i32& min, const SbVec2i32& max) : min_(min), max_(max) {}
  constexpr SbBox2i32(std::int32_t xmin, std::int32_t ymin, std::int32_t xmax, std::int32_t ymax)
      : min_(xmin, ymin), max_(xmax, ymax) {}

  constexpr const SbVec2i32& getMin() const { return min_; }
  constexpr const SbVec2i32& getMax() const { return max_; }
  friend constexpr bool operator==(const SbBox2i32&, const SbBox2i32&) = default;

private:
  SbVec2i32 min_{0, 0};
  SbVec2i32 max_{-1, -1};
};

/// A box of voxels, both corners inclusive. It is empty when its maximum is below its minimum on any axis; a box made
/// without arguments is empty, with minimum 2147483647 and maximum -2147483648 on every axis.
class SbBox3i32 {
public:
  constexpr SbBox3i32() = default;
  constexpr SbBox3i32(const SbVec3i32& min, const SbVec3i32& max) : min_(min), max_(max) {}

  constexpr const SbVec3i32& getMin() const { return min_; }
  constexpr const SbVec3i32& getMax() const { return max_; }
  constexpr void setBounds(const SbVec3i32& min, const SbVec3i32& max) { *this = SbBox3i32(min, max); }

  constexpr bool isEmpty() const { return max_[0] < min_[0] || max_[1] < min_[1] || max_[2] < min_[2]; }

  /// Voxels along an axis; 0 when the axis is empty.
  constexpr std::int64_t size(int axis) const {
    return std::max<std::int64_t>(0, std::int64_t{max_[axis]} - min_[axis] + 1);
  }

  /// True when `other` is empty or lies inside this box.
  constexpr bool contains(const SbBox3i32& other) const {
    if (other.isEmpty()) return true;
    for (int axis = 0; axis < 3; ++axis)
      if (other.min_[axis] < min_[axis] || other.max_[axis] > max_[axis]) return false;
    return true;
  }

  /// The voxels of both boxes; the box made without arguments when they have none in common.
  constexpr SbBox3i32 intersection(const SbBox3i32& other) const {
    SbBox3i32 common;
    for (int axis = 0; axis < 3; ++axis) {
      common.min_[axis] = std::max(min_[axis], other.min_[axis]);
      common.max_[axis] = std::min(max_[axis], other.max_[axis]);
    }
    return common.isEmpty() || isEmpty() || other.isEmpty() ? SbBox3i32() : common;
  }

  /// Grows to hold `other` too; an empty `other` changes nothing.
  constexpr void extendBy(const SbBox3i32& other) {
    if (other.isEmpty()) return;
    if (isEmpty()) {
      *this = other;
      return;
    }
    for (int axis = 0; axis < 3; ++axis) {
      min_[axis] = std::min(min_[axis], other.min_[axis]);
      max_[axis] = std::max(max_[axis], other.max_[axis]);
    }
  }

  friend constexpr bool operator==(const SbBox3i32&, const SbBox3i32&) = default;

private:
  static constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
  static constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();

  SbVec3i32 min_{highest, highest, highest};
  SbVec3i32 max_{lowest, lowest, lowest};
};

/// A box in world coordinates; (0, 0, 0) to (1, 1, 1) when made without arguments.
class SbBox3f {
public:
  constexpr SbBox3f() = default;
  constexpr SbBox3f(const SbVec3f& min, const SbVec3f& max) : min_(min), max_(max) {}

  constexpr const SbVec3f& getMin() const { return min_; }
  constexpr const SbVec3f& getMax() const { return max_; }
  constexpr void setBounds(const SbVec3f& min, const SbVec3f& max) { *this = SbBox3f(min, max); }
  friend constexpr bool operator==(const SbBox3f&, const SbBox3f&) = default;

private:
  SbVec3f min_{0, 0, 0};
  SbVec3f max_{1, 1, 1};
};

/// A name. Every text is kept as it is, also one that starts with a digit.
class SbName {
public:
  SbName() = default;
  SbName(const char* text) : text_(text ? text : "") {}
  SbName(std::string text) : text_(std::move(text)) {}

  const char* getString() const { return text_.c_str(); }
  const std::string& text() const { return text_; }
  bool isEmpty() const { return text_.empty(); }
  friend bool operator==(const SbName&, const SbName&) = default;

private:
  std::string text_;
};
