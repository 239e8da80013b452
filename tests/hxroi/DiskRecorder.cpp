#include "DiskRecorder.h"

#include <stdexcept>
#include <utility>

using Kind = DiskChange::Kind;

class DiskRecorder::Output : public hxvoxora::OutputFile {
public:
  Output(DiskRecorder& disk, std::unique_ptr<hxvoxora::OutputFile> file, std::size_t node)
      : OutputFile(file->path()), disk_(disk), file_(std::move(file)), node_(node) {}

  void append(std::span<const std::byte> bytes) override {
    file_->append(bytes);
    const std::lock_guard lock(disk_.mutex_);
    disk_.note({.kind = Kind::write, .node = node_, .offset = size_, .bytes = {bytes.begin(), bytes.end()}});
    size_ += bytes.size();
  }

  void sync() override {
    const std::lock_guard lock(disk_.mutex_);
    disk_.note({.kind = Kind::syncFile, .node = node_});
  }

  void close() override { file_->close(); }

private:
  DiskRecorder& disk_;
  const std::unique_ptr<hxvoxora::OutputFile> file_;
  const std::size_t node_;
  std::uint64_t size_ = 0;
};

DiskRecorder::DiskRecorder(FileSystem& base, const std::string& root) : PassingFileSystem(base), root_(root) {
  folders_.emplace_back();
}

std::vector<DiskChange> DiskRecorder::changes() const {
  const std::lock_guard lock(mutex_);
  return changes_;
}

std::size_t DiskRecorder::changeCount() const {
  const std::lock_guard lock(mutex_);
  return changes_.size();
}

std::unique_ptr<hxvoxora::OutputFile> DiskRecorder::createExclusively(const std::string& path, Access access) {
  auto file = PassingFileSystem::createExclusively(path, access);
  if (!isRecorded(path)) return file;
  return std::make_unique<Output>(*this, std::move(file), link(path, false));
}

void DiskRecorder::rename(const std::string& from, const std::string& to) {
  PassingFileSystem::rename(from, to);
  if (!isRecorded(from) && !isRecorded(to)) return;
  const std::lock_guard lock(mutex_);
  const Place former = placeOf(from);
  const Place place = placeOf(to);
  const std::size_t node = folders_[former.folder].at(former.name);
  folders_[former.folder].erase(former.name);
  folders_[place.folder][place.name] = node;
  note({.kind = Kind::move,
        .node = node,
        .folder = place.folder,
        .name = place.name,
        .formerFolder = former.folder,
        .formerName = former.name});
}

bool DiskRecorder::remove(const std::string& path) {
  const bool wasThere = PassingFileSystem::remove(path);
  if (wasThere) unlink(path);
  return wasThere;
}

void DiskRecorder::syncDirectory(const std::string& directory) {
  PassingFileSystem::syncDirectory(directory);
  if (!isRecorded(directory + "/entry")) return;
  const std::lock_guard lock(mutex_);
  note({.kind = Kind::syncFolder, .folder = placeOf(directory + "/entry").folder});
}

void DiskRecorder::makePrivateDirectory(const std::string& path) {
  const bool isNew = kind(path) == hxvoxora::FileKind::missing;
  PassingFileSystem::makePrivateDirectory(path);
  if (isNew && isRecorded(path)) link(path, true);
}

void DiskRecorder::createDirectory(const std::string& path, Access access) {
  PassingFileSystem::createDirectory(path, access);
  if (isRecorded(path)) link(path, true);
}

bool DiskRecorder::removeDirectory(const std::string& path) {
  const bool wasThere = PassingFileSystem::removeDirectory(path);
  if (wasThere) unlink(path);
  return wasThere;
}

bool DiskRecorder::isRecorded(const std::string& path) const {
  return path.starts_with(root_ + "/");
}

/// The mutex is held, here and in note().
DiskRecorder::Place DiskRecorder::placeOf(const std::string& path) const {
  if (!isRecorded(path)) throw std::logic_error(path + " is on another disk");
  Place place{kRoot, {}};
  for (std::size_t begin = root_.size(); begin != std::string::npos;) {
    const std::size_t end = path.find('/', begin + 1);
    const std::string name = path.substr(begin + 1, end == std::string::npos ? end : end - begin - 1);
    begin = end;
    if (name.empty()) continue;
    if (!place.name.empty()) place.folder = folders_[place.folder].at(place.name);
    place.name = name;
  }
  return place;
}

std::size_t DiskRecorder::link(const std::string& path, bool isFolder) {
  const std::lock_guard lock(mutex_);
  const Place place = placeOf(path);
  const std::size_t node = folders_.size();
  folders_.emplace_back();
  folders_[place.folder][place.name] = node;
  note({.kind = Kind::link, .node = node, .folder = place.folder, .name = place.name, .isFolder = isFolder});
  return node;
}

void DiskRecorder::unlink(const std::string& path) {
  if (!isRecorded(path)) return;
  const std::lock_guard lock(mutex_);
  const Place place = placeOf(path);
  folders_[place.folder].erase(place.name);
  note({.kind = Kind::unlink, .folder = place.folder, .name = place.name});
}

void DiskRecorder::note(DiskChange change) {
  changes_.push_back(std::move(change));
}
