#include "quarn/voxora/files/MemoryFileSystem.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "quarn/voxora/files/detail/systemError.h"

namespace hxvoxora {

using detail::systemError;

struct MemoryFileSystem::Node {
  std::mutex mutex;
  Bytes bytes;
  FileIdentity identity;
  // Guarded by the mutex of the file system.
  bool isLocked = false;
  int sharers = 0;
};

class MemoryFileSystem::Lock : public FileLock {
public:
  /// The mutex of the file system is held.
  Lock(MemoryFileSystem& files, const std::string& path, std::shared_ptr<Node> node, bool isShared)
      : FileLock(path), files_(files), node_(std::move(node)), isShared_(isShared) {
    if (isShared_) {
      ++node_->sharers;
    } else {
      node_->isLocked = true;
    }
  }

  ~Lock() override {
    const std::lock_guard lock(files_.mutex_);
    if (isShared_) {
      --node_->sharers;
    } else {
      node_->isLocked = false;
    }
  }

  bool isInPlace() const override;
  void write(std::string_view text) override;

private:
  MemoryFileSystem& files_;
  std::shared_ptr<Node> node_;
  const bool isShared_;
};

namespace {

using Node = MemoryFileSystem::Node;

class MemoryInputFile : public InputFile {
public:
  MemoryInputFile(const std::string& path, std::shared_ptr<Node> node) : InputFile(path), node_(std::move(node)) {}

  std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) const override {
    const std::lock_guard lock(node_->mutex);
    const std::uint64_t size = node_->bytes.size();
    if (offset >= size) return 0;
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(out.size(), size - offset));
    if (count > 0) std::memcpy(out.data(), node_->bytes.data() + offset, count);
    return count;
  }

  FileIdentity identity() const override {
    const std::lock_guard lock(node_->mutex);
    FileIdentity identity = node_->identity;
    identity.size = node_->bytes.size();
    return identity;
  }

private:
  std::shared_ptr<Node> node_;
};

class MemoryOutputFile : public OutputFile {
public:
  MemoryOutputFile(const std::string& path, std::shared_ptr<Node> node) : OutputFile(path), node_(std::move(node)) {}

  void append(std::span<const std::byte> bytes) override {
    const std::lock_guard lock(node_->mutex);
    node_->bytes.insert(node_->bytes.end(), bytes.begin(), bytes.end());
    ++node_->identity.changedNanos;
  }

  void sync() override {}
  void close() override {}

private:
  std::shared_ptr<Node> node_;
};

std::string normalized(const std::string& path) {
  std::string result;
  for (const char c : path) {
    if (c != '/' || result.empty() || result.back() != '/') result += c;
  }
  if (result.size() > 1 && result.back() == '/') result.pop_back();
  return result;
}

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return {};
  return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

std::unique_ptr<InputFile> MemoryFileSystem::openForReading(const std::string& path, Links /*links*/) {
  const std::lock_guard lock(mutex_);
  return std::make_unique<MemoryInputFile>(path, find(path, "open"));
}

std::unique_ptr<OutputFile> MemoryFileSystem::createExclusively(const std::string& path, Access /*access*/) {
  const std::lock_guard lock(mutex_);
  const std::string name = normalized(path);
  requireFolderOf(name, "open");
  if (files_.contains(name) || folders_.contains(name)) throw systemError("open", path, EEXIST);
  return std::make_unique<MemoryOutputFile>(path, files_[name] = makeNode());
}

void MemoryFileSystem::rename(const std::string& from, const std::string& to) {
  const std::lock_guard lock(mutex_);
  if (folders_.contains(normalized(from))) return renameFolder(from, to);
  const std::shared_ptr<Node> node = find(from, "rename");
  const std::string name = normalized(to);
  requireFolderOf(name, "rename");
  if (folders_.contains(name)) throw systemError("rename", from + " to " + to, EISDIR);
  files_.erase(normalized(from));
  files_[name] = node;
}

void MemoryFileSystem::renameFolder(const std::string& from, const std::string& to) {
  const std::string former = normalized(from);
  const std::string name = normalized(to);
  requireFolderOf(name, "rename");
  const auto refuse = [&](int reason) { throw systemError("rename", from + " to " + to, reason); };
  if (files_.contains(name)) refuse(ENOTDIR);
  if (folders_.contains(name) && !isEmptyFolder(name)) refuse(ENOTEMPTY);
  if (name == former || name.starts_with(former + "/")) refuse(EINVAL);
  const auto isInside = [&](const std::string& path) { return path.starts_with(former + "/"); };
  const auto moved = [&](const std::string& path) { return name + path.substr(former.size()); };
  std::map<std::string, std::shared_ptr<Node>> files;
  for (const auto& [path, node] : files_) files[isInside(path) ? moved(path) : path] = node;
  std::set<std::string> folders{name};
  for (const std::string& path : folders_) {
    if (path != former) folders.insert(isInside(path) ? moved(path) : path);
  }
  files_.swap(files);
  folders_.swap(folders);
}

bool MemoryFileSystem::isEmptyFolder(const std::string& path) const {
  const std::string inside = path + "/";
  const auto file = files_.lower_bound(inside);
  const auto folder = folders_.lower_bound(inside);
  return (file == files_.end() || !file->first.starts_with(inside)) &&
         (folder == folders_.end() || !folder->starts_with(inside));
}

bool MemoryFileSystem::remove(const std::string& path) {
  const std::lock_guard lock(mutex_);
  if (folders_.contains(normalized(path))) throw systemError("unlink", path, EISDIR);
  return files_.erase(normalized(path)) > 0;
}

FileKind MemoryFileSystem::kind(const std::string& path) {
  const std::lock_guard lock(mutex_);
  const std::string name = normalized(path);
  if (files_.contains(name)) return FileKind::regular;
  return name.empty() || name == "/" || folders_.contains(name) ? FileKind::directory : FileKind::missing;
}

std::vector<std::string> MemoryFileSystem::list(const std::string& directory) {
  const std::lock_guard lock(mutex_);
  const std::string folder = normalized(directory);
  std::vector<std::string> names;
  const auto take = [&](const std::string& path) {
    if (path != "/" && folderOf(path) == folder) names.push_back(path.substr(path.rfind('/') + 1));
  };
  for (const auto& entry : files_) take(entry.first);
  for (const std::string& path : folders_) take(path);
  std::sort(names.begin(), names.end());
  return names;
}

void MemoryFileSystem::syncDirectory(const std::string& directory) {
  const std::lock_guard lock(mutex_);
  requireFolderOf(normalized(directory) + "/entry", "fsync");
}

bool MemoryFileSystem::Lock::isInPlace() const {
  const std::lock_guard lock(files_.mutex_);
  const auto found = files_.files_.find(normalized(path()));
  return found != files_.files_.end() && found->second == node_;
}

void MemoryFileSystem::Lock::write(std::string_view text) {
  const auto bytes = std::as_bytes(std::span(text));
  const std::lock_guard lock(node_->mutex);
  node_->bytes.assign(bytes.begin(), bytes.end());
  ++node_->identity.changedNanos;
}

void MemoryFileSystem::makePrivateDirectory(const std::string& path) {
  const std::lock_guard lock(mutex_);
  const std::string name = normalized(path);
  requireFolderOf(name, "mkdir");
  if (files_.contains(name)) throw McException(McException::excerpt(path) + ": is not a folder");
  folders_.insert(name);
}

void MemoryFileSystem::createDirectory(const std::string& path, Access /*access*/) {
  const std::lock_guard lock(mutex_);
  const std::string name = normalized(path);
  requireFolderOf(name, "mkdir");
  if (files_.contains(name) || !folders_.insert(name).second) throw systemError("mkdir", path, EEXIST);
}

bool MemoryFileSystem::removeDirectory(const std::string& path) {
  const std::lock_guard lock(mutex_);
  const std::string name = normalized(path);
  if (files_.contains(name)) throw systemError("rmdir", path, ENOTDIR);
  if (!folders_.contains(name)) return false;
  if (!isEmptyFolder(name)) throw systemError("rmdir", path, ENOTEMPTY);
  return folders_.erase(name) > 0;
}

bool MemoryFileSystem::isWritable(const std::string& directory) {
  return kind(directory) == FileKind::directory;
}

std::unique_ptr<FileLock> MemoryFileSystem::tryLock(const std::string& path) {
  const std::lock_guard lock(mutex_);
  std::shared_ptr<Node> node = find(path, "open");
  if (node->isLocked || node->sharers > 0) return nullptr;
  return std::make_unique<Lock>(*this, path, std::move(node), false);
}

std::unique_ptr<FileLock> MemoryFileSystem::tryLockShared(const std::string& path) {
  const std::lock_guard lock(mutex_);
  std::shared_ptr<Node> node = find(path, "open");
  if (node->isLocked) return nullptr;
  return std::make_unique<Lock>(*this, path, std::move(node), true);
}

bool MemoryFileSystem::isOneFileSystem(const std::string& /*directory*/, const std::string& /*other*/) {
  return true;
}

std::uint64_t MemoryFileSystem::freeSpace(const std::string& /*directory*/) {
  const std::lock_guard lock(mutex_);
  return freeSpace_;
}

void MemoryFileSystem::makeDirectory(const std::string& path) {
  const std::lock_guard lock(mutex_);
  for (std::string folder = normalized(path); !folder.empty() && folder != "/"; folder = folderOf(folder)) {
    folders_.insert(folder);
  }
}

MemoryFileSystem::Bytes MemoryFileSystem::content(const std::string& path) {
  const std::lock_guard lock(mutex_);
  const std::shared_ptr<Node> node = find(path, "open");
  const std::lock_guard nodeLock(node->mutex);
  return node->bytes;
}

void MemoryFileSystem::setContent(const std::string& path, Bytes bytes) {
  const std::lock_guard lock(mutex_);
  const std::string name = normalized(path);
  requireFolderOf(name, "open");
  std::shared_ptr<Node>& node = files_[name];
  if (!node) node = makeNode();
  const std::lock_guard nodeLock(node->mutex);
  node->bytes = std::move(bytes);
  ++node->identity.changedNanos;
}

void MemoryFileSystem::setFreeSpace(std::uint64_t bytes) {
  const std::lock_guard lock(mutex_);
  freeSpace_ = bytes;
}

std::shared_ptr<Node> MemoryFileSystem::find(const std::string& path, const char* call) const {
  const std::string name = normalized(path);
  if (folders_.contains(name))
    throw McException(std::string(call) + " " + McException::excerpt(path) + ": not a regular file");
  const auto found = files_.find(name);
  if (found == files_.end()) throw systemError(call, path, ENOENT);
  return found->second;
}

void MemoryFileSystem::requireFolderOf(const std::string& path, const char* call) const {
  const std::string folder = folderOf(path);
  if (!folder.empty() && folder != "/" && !folders_.contains(folder)) throw systemError(call, path, ENOENT);
}

std::shared_ptr<Node> MemoryFileSystem::makeNode() {
  auto node = std::make_shared<Node>();
  node->identity.serial = nextSerial_++;
  return node;
}

}  // namespace hxvoxora
