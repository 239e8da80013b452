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
std::uint64_t ItkMask::countComponents() const {
  throw std::logic_error("the peer was not built in");
}

}  // namespace bench
