#include "tests/hxroi_worker/smallDisk.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <sys/mount.h>
#include <sys/statvfs.h>

#include "quarn/kernel/io/QuarnMesh.h"
#include "tests/hxroi_worker/killedSet.h"

namespace {

constexpr std::uint64_t kSteps = 64;
constexpr std::uint64_t kLarge = std::uint64_t{64} << 20;

/// A disk in memory in one folder.
class MemoryDisk {
public:
  explicit MemoryDisk(std::string folder) : folder_(std::move(folder)) {}

  bool mount() const { return ::mount("none", folder_.c_str(), "tmpfs", 0, sized(kLarge).c_str()) == 0; }

  void resize(std::uint64_t bytes) const {
    if (::mount("none", folder_.c_str(), "tmpfs", MS_REMOUNT, sized(bytes).c_str()) == 0) return;
    throw std::runtime_error("the disk cannot be given another size");
  }

  std::uint64_t used() const {
    struct statvfs info {};
    if (::statvfs(folder_.c_str(), &info) != 0) throw std::runtime_error("statvfs");
    return (info.f_blocks - info.f_bfree) * info.f_frsize;
  }

  void clear() const {
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) std::filesystem::remove_all(entry);
  }

private:
  static std::string sized(std::uint64_t bytes) { return "size=" + std::to_string(bytes); }

  const std::string folder_;
};

bool save(int number, const std::string& file) {
  return killedset::make(number)->writeQuarnMesh(file.c_str()) != 0;
}

void require(bool holds, const std::string& what, std::uint64_t size) {
  if (!holds) throw std::runtime_error(what + ", on a disk of " + std::to_string(size) + " bytes");
}

void requireNumber(int number, const std::string& file, std::uint64_t size) {
  const auto mesh = QuarnMesh::read(QString::fromStdString(file));
  const McHandle<HxRois> set(new HxRois);
  QString name;
  require(set->readQuarnMesh(mesh.get(), file.c_str(), name) != 0, "the set is not loaded", size);
  require(killedset::describe(*set) == killedset::describe(*killedset::make(number)), "it is another set", size);
}

}  // namespace

bool saveOnSmallDisks(const std::string& file) {
  const MemoryDisk disk(std::filesystem::path(file).parent_path().string());
  if (!disk.mount()) {
    std::perror("mount");
    return false;
  }
  require(save(1, file), "not saved", kLarge);
  const std::uint64_t need = disk.used();
  int refused = 0;
  for (std::uint64_t step = 0; step < kSteps; ++step) {
    disk.clear();
    require(save(1, file), "not saved", kLarge);
    const std::uint64_t size = disk.used() + need * 11 * step / (10 * (kSteps - 1));
    disk.resize(size);
    const bool isSaved = save(2, file);
    refused += isSaved ? 0 : 1;
    requireNumber(isSaved ? 2 : 1, file, size);
    disk.resize(kLarge);
    require(save(2, file), "not saved once there was room", size);
    requireNumber(2, file, size);
  }
  std::printf("refused %d\n", refused);
  return true;
}
