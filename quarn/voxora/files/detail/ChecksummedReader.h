#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>
#include <xxhash.h>

#include "quarn/voxora/files/InputFile.h"

namespace hxvoxora::detail {

/// Reads a file from its beginning in small pieces and keeps the checksum of all bytes handed out. A file that ends
/// early is an McException.
class ChecksummedReader {
public:
  explicit ChecksummedReader(const InputFile& file);

  void read(std::span<std::byte> out);
  std::byte readByte();

  /// XXH3 of the bytes read so far.
  std::uint64_t checksum() const;

private:
  struct FreeState {
    void operator()(XXH3_state_t* state) const { XXH3_freeState(state); }
  };

  void refill(std::size_t wanted);

  const InputFile& file_;
  std::uint64_t offset_ = 0;  // of the first byte behind the buffer
  std::vector<std::byte> buffer_;
  std::size_t used_ = 0;
  std::unique_ptr<XXH3_state_t, FreeState> state_;
};

}  // namespace hxvoxora::detail
