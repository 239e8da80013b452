#include "quarn/voxora/tiles/detail/CellCombiner.h"

#include <algorithm>

namespace hxvoxora::detail {

namespace {

constexpr std::size_t cacheLine = 64;

/// The processor follows a stretch by itself after its beginning.
constexpr std::size_t prefetchedBytes = 4096;

void prefetch(const std::byte* bytes, std::size_t count) {
  for (std::size_t i = 0; i < count; i += cacheLine) __builtin_prefetch(bytes + i);
}

}  // namespace

void CellCombiner::add(TileSlot& result, std::int64_t tile, const TileCell& a, const TileCell& b, TruthTable f) {
  __builtin_prefetch(&a);
  __builtin_prefetch(&b);
  jobs_[count_++] = {&result, tile, &a, &b, f, nullptr, nullptr};
}

void CellCombiner::pin(std::size_t i) {
  if (i >= count_) return;
  Job& job = jobs_[i];
  job.left = job.a->pin();
  job.right = job.a == job.b ? job.left : job.b->pin();
  __builtin_prefetch(job.left.get());
  __builtin_prefetch(job.right.get());
}

void CellCombiner::prefetchBits(std::size_t i) const {
  if (i >= count_) return;
  const Job& job = jobs_[i];
  const std::size_t bytes = std::min(job.left->byteSize(), prefetchedBytes);
  prefetch(job.left->bits(), bytes);
  if (job.a != job.b) prefetch(job.right->bits(), bytes);
}

void CellCombiner::combine(std::size_t i) {
  Job& job = jobs_[i];
  *job.result = combinePayloads(grid_, job.tile, pass_, *job.left, *job.right, job.f);
  job.left = job.right = nullptr;
}

void CellCombiner::run() {
  pin(0);
  pin(1);
  prefetchBits(0);
  for (std::size_t i = 0; i < count_; ++i) {
    pin(i + 2);
    prefetchBits(i + 1);
    combine(i);
  }
}

}  // namespace hxvoxora::detail
