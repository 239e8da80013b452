#include "quarn/voxora/files/detail/systemError.h"

#include <system_error>

namespace hxvoxora::detail {

McException systemError(const char* call, const std::string& path, int errorNumber) {
  return McException(std::string(call) + " " + path + ": " + std::generic_category().message(errorNumber));
}

}  // namespace hxvoxora::detail
