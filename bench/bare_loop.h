#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

/// What a plain vector loop over arrays needs: the floor for operators.
namespace bench {

/// Three arrays in large pages that were touched before, and the loops over them, spread over the TBB workers.
class BareLoop {
public:
  explicit BareLoop(std::size_t byteCount);

  /// third = first and second.
  void combineIntoThird();
  /// first = first and second.
  void combineInPlace();
  /// third = not first.
  void invertIntoThird();
  /// first = not first.
  void invertInPlace();
  /// third = first, by the library's copy of memory.
  void copy();

private:
  struct FreeMemory {
    void operator()(std::uint8_t* memory) const;
  };
  using Array = std::unique_ptr<std::uint8_t, FreeMemory>;
  static Array touched(std::size_t byteCount);

  template <class Work>
  void run(Work work);

  std::size_t byteCount_;
  Array first_, second_, third_;
};

}  // namespace bench
