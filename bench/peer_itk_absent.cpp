#include <stdexcept>

#include "bench/peer_itk.h"

/// Stands in where the library of the peer is not installed.
namespace bench {

struct ItkMask::Image {};

bool ItkMask::isAvailable() {
  return false;
}
ItkMask::ItkMask(const hxvoxora::TileSnapshot&) {
  throw std::logic_error("the peer was not built in");
}
ItkMask::~ItkMask() = default;
void ItkMask::measureComponents(const std::function<void(std::uint64_t, const SbBox3i32&)>&) const {
  throw std::logic_error("the peer was not built in");
}
std::uint64_t ItkMask::countComponents(std::uint64_t) const {
  throw std::logic_error("the peer was not built in");
}

}  // namespace bench
