#include <cstddef>
#include <cstdint>
#include <span>

#include "fuzz/targets/targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  fuzz::FUZZ_TARGET(std::as_bytes(std::span(bytes, size)));
  return 0;
}
