#include "quarn/voxora/files/detail/systemError.h"

#include <system_error>

namespace hxvoxora::detail {

FileError systemError(const char* call, const std::string& path, int errorNumber) {
  return FileError(std::string(call) + " " + path + ": " + std::generic_category().message(errorNumber), errorNumber);
}

}  // namespace hxvoxora::detail
