#include "quarn/voxora/files/detail/ChecksummedReader.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace hxvoxora::detail {

namespace {

constexpr std::size_t pieceBytes = std::size_t{1} << 16;

}  // namespace

ChecksummedReader::ChecksummedReader(const InputFile& file) : file_(file), state_(XXH3_createState()) {
  if (!state_) throw std::bad_alloc();
  XXH3_64bits_reset(state_.get());
}

void ChecksummedReader::read(std::span<std::byte> out) {
  std::span<std::byte> rest = out;
  while (!rest.empty()) {
    if (used_ == buffer_.size()) refill(rest.size());
    const std::size_t count = std::min(rest.size(), buffer_.size() - used_);
    std::memcpy(rest.data(), &buffer_[used_], count);
    used_ += count;
    rest = rest.subspan(count);
  }
  XXH3_64bits_update(state_.get(), out.data(), out.size());
}

std::byte ChecksummedReader::readByte() {
  std::byte byte{};
  read(std::span(&byte, 1));
  return byte;
}

std::uint64_t ChecksummedReader::checksum() const {
  return XXH3_64bits_digest(state_.get());
}

void ChecksummedReader::refill(std::size_t wanted) {
  buffer_.resize(pieceBytes);
  buffer_.resize(file_.readAt(offset_, buffer_));
  if (buffer_.empty()) {
    buffer_.resize(wanted);
    file_.readFully(offset_, buffer_);  // says what is missing where
  }
  offset_ += buffer_.size();
  used_ = 0;
}

}  // namespace hxvoxora::detail
