#include "quarn/voxora/tiles/detail/SlabMemory.h"

#include <cstdint>
#include <new>
#include <sys/mman.h>

namespace hxvoxora::detail {

namespace {

std::byte* mapped(std::size_t byteCount) {
  void* const memory = ::mmap(nullptr, byteCount, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  return static_cast<std::byte*>(memory);
}

std::size_t behindBoundary(const std::byte* memory) {
  return reinterpret_cast<std::uintptr_t>(memory) % SlabMemory::byteSize;
}

/// The system puts new memory below the last, which is aligned as a rule; if not, what is too much is given back.
std::byte* mappedAligned() {
  std::byte* memory = mapped(SlabMemory::byteSize);
  if (behindBoundary(memory) == 0) return memory;
  ::munmap(memory, SlabMemory::byteSize);
  memory = mapped(2 * SlabMemory::byteSize);
  const std::size_t before = (SlabMemory::byteSize - behindBoundary(memory)) % SlabMemory::byteSize;
  if (before != 0) ::munmap(memory, before);
  ::munmap(memory + before + SlabMemory::byteSize, SlabMemory::byteSize - before);
  return memory + before;
}

}  // namespace

SlabMemory::SlabMemory() : bytes_(mappedAligned()) {
  ::madvise(bytes_, byteSize, MADV_HUGEPAGE);  // a wish; all is well without
}

SlabMemory::~SlabMemory() {
  ::munmap(bytes_, byteSize);
}

}  // namespace hxvoxora::detail
