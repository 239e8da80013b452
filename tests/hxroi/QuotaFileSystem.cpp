#include "QuotaFileSystem.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "quarn/voxora/files/FileError.h"

class QuotaFileSystem::Output : public hxvoxora::OutputFile {
public:
  Output(QuotaFileSystem& disk, std::unique_ptr<hxvoxora::OutputFile> file)
      : OutputFile(file->path()), disk_(disk), file_(std::move(file)) {}

  void append(std::span<const std::byte> bytes) override {
    const std::uint64_t used = disk_.used();
    const std::uint64_t left = disk_.room_ - std::min(used, disk_.room_);
    const auto fits = static_cast<std::size_t>(std::min<std::uint64_t>(left, bytes.size()));
    if (fits > 0) file_->append(bytes.first(fits));
    if (fits < bytes.size()) throw hxvoxora::FileError("write " + path() + ": No space left on device", ENOSPC);
  }

  void sync() override { file_->sync(); }
  void close() override { file_->close(); }

private:
  const QuotaFileSystem& disk_;
  const std::unique_ptr<hxvoxora::OutputFile> file_;
};

std::uint64_t QuotaFileSystem::used() const {
  std::uint64_t bytes = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root_)) {
    if (entry.is_regular_file()) bytes += entry.file_size();
  }
  return bytes;
}

std::unique_ptr<hxvoxora::OutputFile> QuotaFileSystem::createExclusively(const std::string& path, Access access) {
  auto file = PassingFileSystem::createExclusively(path, access);
  if (!path.starts_with(root_ + "/")) return file;
  return std::make_unique<Output>(*this, std::move(file));
}

std::uint64_t QuotaFileSystem::freeSpace(const std::string& directory) {
  if (!(directory + "/").starts_with(root_ + "/")) return PassingFileSystem::freeSpace(directory);
  const std::uint64_t taken = used();
  return room_ - std::min(taken, room_) + claimed_;
}
