#include "quarn/kernel/io/detail/FileProgress.h"

#include "quarn/base/McProgressInterface.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/voxora/files/fileNames.h"

namespace quarn::detail {

FileProgress::FileProgress(const char* verb, const std::string& path) {
  HxApplication::progress()->start(std::string(verb) + " " + hxvoxora::bareName(path));
}

FileProgress::~FileProgress() {
  HxApplication::progress()->stop();
}

bool FileProgress::goOn(std::uint64_t done, std::uint64_t all) const {
  if (all > 0) HxApplication::progress()->setValue(static_cast<float>(done) / static_cast<float>(all));
  return !HxApplication::progress()->isInterrupted();
}

}  // namespace quarn::detail
