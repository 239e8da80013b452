#include "quarn/voxora/files/detail/Descriptor.h"

#include <cerrno>
#include <unistd.h>

namespace hxvoxora::detail {

Descriptor::~Descriptor() {
  if (isOpen()) ::close(number_);
}

int Descriptor::close() {
  // Linux frees the descriptor also when close() is interrupted: it must not be closed again.
  const int result = ::close(std::exchange(number_, -1));
  return result == 0 || errno == EINTR ? 0 : errno;
}

}  // namespace hxvoxora::detail
