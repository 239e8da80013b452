#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "quarn/voxora/components/Component.h"

namespace hxvoxora::detail {

/// Components that are not complete yet, told by numbers. Those that turn out to be one are joined: all of their
/// numbers stand for the same component from then on.
///
/// Numbers are counted references: a component is complete, and handed over, when nobody holds any of its numbers any
/// more. Numbers and memory are used again.
class OpenComponents {
public:
  using Number = std::uint32_t;
  static constexpr Number none = ~Number{0};

  /// A new component, with one reference to its number.
  Number add(const Component& part);

  /// Makes a part belong to a component, and returns a number of that with one more reference.
  Number extend(Number number, const Component& part);

  void hold(Number number) { ++entry(number).references; }

  /// Gives a reference back. When it was the last one to the component, `complete` takes that, and true is returned.
  bool release(Number number, Component& complete);

  /// Makes one component of two; the numbers may stand for the same one.
  void join(Number a, Number b);

private:
  static constexpr std::size_t chunkSize = 1024;

  struct Entry {
    std::uint64_t voxelCount = 0;
    SbBox3i32 box;
    std::int32_t firstX = 0, firstY = 0;  // its z is that of the box
    Number parent = 0;                    // itself in the root; the next free number where there is no component
    std::uint32_t references = 0;         // those of others, and of entries whose parent it is

    void extend(const Component& part);
    Component component() const { return {{firstX, firstY, box.getMin()[2]}, voxelCount, box}; }
  };

  Entry& entry(Number number) { return (*chunks_[number / chunkSize])[number % chunkSize]; }
  Number root(Number number);
  Number newNumber();
  void free(Number number);

  std::vector<std::unique_ptr<std::array<Entry, chunkSize>>> chunks_;
  Number firstFree_ = none;
};

}  // namespace hxvoxora::detail
