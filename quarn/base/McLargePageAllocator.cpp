#include "quarn/base/McLargePageAllocator.h"

#include <sys/mman.h>

namespace {

constexpr std::size_t kPage = std::size_t{2} << 20;

/// For less the bytes lost by alignment would count.
constexpr bool isLarge(std::size_t bytes) {
  return bytes >= 4 * kPage;
}

}  // namespace

void* mcAllocateLargePages(std::size_t bytes) {
  if (!isLarge(bytes)) return ::operator new(bytes);
  void* const memory = ::operator new(bytes, std::align_val_t(kPage));
#ifdef MADV_HUGEPAGE
  ::madvise(memory, bytes, MADV_HUGEPAGE);  // a wish; all is well without
#endif
  return memory;
}

void mcFreeLargePages(void* memory, std::size_t bytes) noexcept {
  if (isLarge(bytes)) {
    ::operator delete(memory, std::align_val_t(kPage));
  } else {
    ::operator delete(memory);
  }
}
