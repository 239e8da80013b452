#include <stdexcept>

#include "bench/peer_itk_labels.h"

/// Stands in where the library of the peer is not installed.
namespace bench {

struct ItkLabels::Image {};

namespace {
[[noreturn]] void refuse() {
  throw std::logic_error("the peer was not built in");
}
}  // namespace

bool ItkLabels::isAvailable() {
  return false;
}

ItkLabels::ItkLabels(const SbVec3i32&, std::span<const std::uint8_t>) {
  refuse();
}
ItkLabels::~ItkLabels() = default;
std::size_t ItkLabels::separate() {
  refuse();
}
std::uint64_t ItkLabels::join() const {
  refuse();
}

}  // namespace bench
