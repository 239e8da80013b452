#include <cstdint>

#include "quarn/base/McTimeStamp.h"
#include "tests/base_module/Beacon.h"

extern "C" __attribute__((visibility("default"))) std::uint64_t nextBeaconStamp() {
  return McTimeStamp<Beacon>::s_nextTimeStamp++;
}
