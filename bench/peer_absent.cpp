#include <stdexcept>

#include "bench/peer.h"

/// Stands in where the library of the peer is not installed.
namespace bench {

struct PeerMask::Tree {};

namespace {
[[noreturn]] void refuse() {
  throw std::logic_error("the peer was not built in");
}
}  // namespace

bool PeerMask::isAvailable() {
  return false;
}

PeerMask::PeerMask(const hxvoxora::TileSnapshot&) {
  refuse();
}
PeerMask::PeerMask(const PeerMask&) {
  refuse();
}
PeerMask::PeerMask(PeerMask&&) noexcept = default;
PeerMask::~PeerMask() = default;
PeerMask& PeerMask::operator=(PeerMask) noexcept {
  return *this;
}
void PeerMask::combine(const PeerMask&, hxvoxora::TruthTable) {
  refuse();
}
void PeerMask::invert(const SbBox3i32&) {
  refuse();
}
void PeerMask::grow(int, bool, Nodes) {
  refuse();
}
SbBox3i32 PeerMask::boundingBox() const {
  refuse();
}
std::uint64_t PeerMask::countSetVoxels() const {
  refuse();
}
std::uint64_t PeerMask::countSegments() const {
  refuse();
}
std::vector<std::uint64_t> PeerMask::segmentSizes() const {
  refuse();
}
void PeerMask::write(const std::string&) const {
  refuse();
}
PeerMask PeerMask::read(const std::string&) {
  refuse();
}

}  // namespace bench
