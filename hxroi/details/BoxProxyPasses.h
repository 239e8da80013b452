#pragma once

/// The parallel passes of BoxProxy. Included by BoxProxy.h, not to be included by itself.

#include <atomic>
#include <concepts>
#include <functional>

#include "hxroi/details/BoxProxy.h"
#include "quarn/base/McBox3i.h"
#include "quarn/base/hxstlhelpers.h"
#include "quarn/voxora/bits/BitRows.h"
#include "quarn/voxora/bits/TruthTable.h"

namespace hxroi::details {

/// The Boolean function that a functor computes, for the functors that have a form on whole words. Specialise it to
/// give a functor of one's own such a form.
template <class F>
struct WordForm {
  static constexpr bool known = false;
};

template <hxvoxora::TruthTable f>
struct KnownWordForm {
  static constexpr bool known = true;
  static constexpr hxvoxora::TruthTable value = f;
};

template <>
struct WordForm<std::greater<bool>> : KnownWordForm<hxvoxora::TruthTable::AndNot> {};
template <>
struct WordForm<std::not_equal_to<bool>> : KnownWordForm<hxvoxora::TruthTable::Xor> {};
template <>
struct WordForm<std::logical_or<bool>> : KnownWordForm<hxvoxora::TruthTable::Or> {};
template <>
struct WordForm<std::logical_and<bool>> : KnownWordForm<hxvoxora::TruthTable::And> {};
template <>
struct WordForm<hxstlhelpers::Negate<bool>> : KnownWordForm<hxvoxora::TruthTable::NotA> {};

/// The functor of one operand that F is where both its operands are the same voxel.
template <class F>
struct OnItself {
  bool operator()(bool voxel) const { return F()(voxel, voxel); }
};

/// A reduction that takes whole rows.
template <class F>
concept RowVisitor = requires(F f, const std::uint8_t* bits, std::uint64_t n) {
  f.visitRow(bits, n, n);
};

/// One voxel of a byte whose other voxels belong to other threads.
class SharedBit {
public:
  SharedBit(std::uint8_t* bits, std::uint64_t index)
      : byte_(bits[index >> 3]), mask_(static_cast<std::uint8_t>(0x80U >> (index & 7U))) {}

  bool get() const { return (byte_.load(std::memory_order_relaxed) & mask_) != 0; }
  void set(bool value) const {
    if (value) {
      byte_.fetch_or(mask_, std::memory_order_relaxed);
    } else {
      byte_.fetch_and(static_cast<std::uint8_t>(~mask_), std::memory_order_relaxed);
    }
  }

private:
  std::atomic_ref<std::uint8_t> byte_;
  std::uint8_t mask_;
};

inline McVec3i originOf(const BoxProxy::Range& range) {
  return {range.cols().begin(), range.rows().begin(), range.pages().begin()};
}

inline McVec3i extentOf(const BoxProxy::Range& range) {
  return {range.cols().end() - range.cols().begin(), range.rows().end() - range.rows().begin(),
          range.pages().end() - range.pages().begin()};
}

/// The rows of a view in iterator order; rows and slices that follow each other in all given buffers are joined.
class RowWalk {
public:
  explicit RowWalk(const BoxProxy& view) : size_(view.size()) { admit(view); }
  RowWalk(const BoxProxy& view, const BoxProxy& other) : RowWalk(view) { admit(other); }

  /// Calls visit(y, z, count) for each stretch of `count` voxels that starts at (0, y, z).
  template <class Visit>
  void forEach(Visit visit) const {
    const int zStep = slicesJoin_ ? size_.z : 1;
    const int yStep = rowsJoin_ ? size_.y : 1;
    const auto count =
        static_cast<std::uint64_t>(size_.x) * static_cast<std::uint64_t>(yStep) * static_cast<std::uint64_t>(zStep);
    for (int z = 0; z < size_.z; z += zStep) {
      for (int y = 0; y < size_.y; y += yStep) visit(y, z, count);
    }
  }

private:
  void admit(const BoxProxy& view) {
    rowsJoin_ = rowsJoin_ && view.bufferDimensions().x == size_.x;
    slicesJoin_ = slicesJoin_ && rowsJoin_ && view.bufferDimensions().y == size_.y;
  }

  McVec3i size_;
  bool rowsJoin_ = true;
  bool slicesJoin_ = true;
};

/// All voxels of a view, in its own coordinates.
inline SbBox3i32 voxelsOf(const BoxProxy& view) {
  return {SbVec3i32(0, 0, 0), SbVec3i32(view.size().x - 1, view.size().y - 1, view.size().z - 1)};
}

/// Body of the unary transform: this = F(this) on one chunk.
template <class F>
class Transform {
public:
  explicit Transform(BoxProxy& view) : view_(&view) {}

  void operator()(const BoxProxy::Range& range) const {
    BoxProxy part = view_->getBox(originOf(range), extentOf(range));
    if constexpr (WordForm<F>::known) {
      static_assert(WordForm<F>::value == hxvoxora::TruthTable::NotA, "a functor of one operand");
      hxvoxora::invertRowsShared(part.bits(), part.layout(), voxelsOf(part));
    } else {
      RowWalk(part).forEach(
          [&](int y, int z, std::uint64_t count) { row(part.bits(), part.bitIndex(0, y, z), count); });
    }
  }

private:
  static void row(std::uint8_t* bits, std::uint64_t first, std::uint64_t count) {
    for (std::uint64_t i = first; i < first + count; ++i) {
      const SharedBit voxel(bits, i);
      voxel.set(F()(voxel.get()));
    }
  }

  BoxProxy* view_;
};

/// Body of the binary transform: this = F(this, other) on one chunk.
template <class F>
class TransformBy {
public:
  TransformBy(BoxProxy& view, const BoxProxy& other) : view_(&view), other_(&other) {}

  void operator()(const BoxProxy::Range& range) const {
    BoxProxy part = view_->getBox(originOf(range), extentOf(range));
    const BoxProxy otherPart = other_->getBox(originOf(range), extentOf(range));
    if constexpr (WordForm<F>::known) {
      hxvoxora::combineRowsShared(part.bits(), part.layout(), otherPart.bits(), otherPart.layout(), voxelsOf(part),
                                  WordForm<F>::value);
    } else {
      RowWalk(part, otherPart).forEach([&](int y, int z, std::uint64_t count) {
        row(part.bits(), part.bitIndex(0, y, z), otherPart.bits(), otherPart.bitIndex(0, y, z), count);
      });
    }
  }

private:
  static void row(std::uint8_t* bits, std::uint64_t first, const std::uint8_t* otherBits, std::uint64_t otherFirst,
                  std::uint64_t count) {
    for (std::uint64_t i = 0; i < count; ++i) {
      const SharedBit voxel(bits, first + i);
      const std::uint64_t j = otherFirst + i;
      voxel.set(F()(voxel.get(), (otherBits[j >> 3] & (0x80U >> (j & 7U))) != 0));
    }
  }

  BoxProxy* view_;
  const BoxProxy* other_;
};

/// Body of the reduction.
template <class F>
class Apply {
public:
  explicit Apply(const BoxProxy& view) : view_(&view) {}
  Apply(Apply& other, tbb::split) : view_(other.view_) {}

  void operator()(const BoxProxy::Range& range) {
    const McVec3i origin = originOf(range);
    const BoxProxy part = view_->getBox(origin, extentOf(range));
    F chunk(McBox3i(origin, origin + part.size()));
    if constexpr (RowVisitor<F>) {
      const auto length = static_cast<std::uint64_t>(part.size().x);
      for (int z = 0; z < part.size().z; ++z) {
        for (int y = 0; y < part.size().y; ++y) chunk.visitRow(part.bits(), part.bitIndex(0, y, z), length);
      }
    } else {
      for (const bool voxel : part) chunk(voxel);
    }
    result_.join(chunk);
  }

  void join(const Apply& right) { result_.join(right.result_); }

  const F& result() const { return result_; }

private:
  const BoxProxy* view_;
  F result_;
};

template <class F>
void BoxProxy::transform(const BoxProxy& other) {
  if (buffer_ != other.buffer_) {
    tbb::parallel_for(range(), TransformBy<F>(*this, other), tbb::auto_partitioner());
  } else if (bitIndex(0, 0, 0) == other.bitIndex(0, 0, 0)) {
    transformByItself<F>();
  } else {
    transformInOrder<F>(other);
  }
}

/// The parts of the pass would read, as operands, bytes that other parts are writing; the value of F follows without.
template <class F>
void BoxProxy::transformByItself() {
  if constexpr (WordForm<F>::known) {
    constexpr bool fromClear = hxvoxora::apply(WordForm<F>::value, false, false);
    constexpr bool fromSet = hxvoxora::apply(WordForm<F>::value, true, true);
    if constexpr (fromClear == fromSet) {
      *this = fromSet;
    } else if constexpr (fromClear) {
      negate();
    }
  } else {
    transform<OnItself<F>>();
  }
}

/// A voxel may be the operand of a later one, so nothing can be done at the same time.
template <class F>
void BoxProxy::transformInOrder(const BoxProxy& other) {
  iterator operand = other.begin();
  for (const BitReference voxel : *this) {
    voxel = F()(voxel, *operand);
    ++operand;
  }
}

template <class F>
void BoxProxy::transform() {
  tbb::parallel_for(range(), Transform<F>(*this), tbb::auto_partitioner());
}

template <class F>
F BoxProxy::apply() const {
  Apply<F> body(*this);
  tbb::parallel_reduce(range(), body);
  return body.result();
}

}  // namespace hxroi::details
