#include <stdexcept>

#include "bench/peer_itk_morphology.h"

/// Stands in where the library of the peer is not installed.
namespace bench {

struct ItkImage::Image {};

namespace {
[[noreturn]] void refuse() {
  throw std::logic_error("the peer was not built in");
}
}  // namespace

bool ItkImage::isAvailable() {
  return false;
}

ItkImage::ItkImage(const hxvoxora::TileSnapshot&) {
  refuse();
}
ItkImage::ItkImage(ItkImage&&) noexcept = default;
ItkImage::~ItkImage() = default;
ItkImage ItkImage::grown(int, bool) const {
  refuse();
}
bool ItkImage::equals(const hxvoxora::TileSnapshot&) const {
  refuse();
}

}  // namespace bench
