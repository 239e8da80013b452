#include "fuzz/targets/HostileSet.h"

#include <algorithm>

#include "quarn/base/McException.h"

namespace fuzz {

using hxvoxora::FileKind;

namespace {

/// Some bytes, then zeros up to a size.
class PaddedFile : public hxvoxora::InputFile {
public:
  PaddedFile(const std::string& path, std::span<const std::byte> head, std::uint64_t size)
      : InputFile(path), head_(head), size_(size) {}

  std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) const override {
    if (offset >= size_) return 0;
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(out.size(), size_ - offset));
    std::fill_n(out.begin(), count, std::byte{0});
    if (offset < head_.size()) {
      const std::span<const std::byte> rest = head_.subspan(static_cast<std::size_t>(offset));
      std::copy_n(rest.begin(), std::min(count, rest.size()), out.begin());
    }
    return count;
  }

  hxvoxora::FileIdentity identity() const override {
    hxvoxora::FileIdentity identity;
    identity.size = size_;
    return identity;
  }

private:
  const std::span<const std::byte> head_;
  const std::uint64_t size_;
};

[[noreturn]] void refuse(const std::string& path) {
  throw McException("change " + path + ": Read-only file system");
}

}  // namespace

HostileSet::HostileSet(std::string header, std::span<const std::byte> index, std::vector<std::byte> dataHead,
                       std::uint64_t dataBytes)
    : header_(std::move(header)),
      index_(index),
      dataHead_(std::move(dataHead)),
      dataBytes_(std::max<std::uint64_t>(dataBytes, dataHead_.size())) {}

std::unique_ptr<hxvoxora::InputFile> HostileSet::openForReading(const std::string& path, Links /*links*/) {
  if (path == "/v/a.ldm") return std::make_unique<PaddedFile>(path, std::as_bytes(std::span(header_)), header_.size());
  if (path == "/v/a.fcp") return std::make_unique<PaddedFile>(path, index_, index_.size());
  if (path == "/v/a.dat") return std::make_unique<PaddedFile>(path, dataHead_, dataBytes_);
  throw McException("open " + path + ": No such file or directory");
}

std::unique_ptr<hxvoxora::OutputFile> HostileSet::createExclusively(const std::string& path, Access /*access*/) {
  refuse(path);
}

void HostileSet::rename(const std::string& from, const std::string& /*to*/) {
  refuse(from);
}

bool HostileSet::remove(const std::string& path) {
  refuse(path);
}

FileKind HostileSet::kind(const std::string& path) {
  const bool isOurs = path == "/v/a.ldm" || path == "/v/a.fcp" || path == "/v/a.dat";
  return isOurs ? FileKind::regular : FileKind::missing;
}

std::vector<std::string> HostileSet::list(const std::string& /*directory*/) {
  return {"a.dat", "a.fcp", "a.ldm"};
}

void HostileSet::syncDirectory(const std::string& /*directory*/) {}

void HostileSet::makePrivateDirectory(const std::string& path) {
  refuse(path);
}

void HostileSet::createDirectory(const std::string& path, Access /*access*/) {
  refuse(path);
}

bool HostileSet::removeDirectory(const std::string& path) {
  refuse(path);
}

bool HostileSet::isWritable(const std::string& /*directory*/) {
  return false;
}

std::unique_ptr<hxvoxora::FileLock> HostileSet::tryLock(const std::string& path) {
  refuse(path);
}

std::unique_ptr<hxvoxora::FileLock> HostileSet::tryLockShared(const std::string& path) {
  refuse(path);
}

bool HostileSet::isOneFileSystem(const std::string& /*directory*/, const std::string& /*other*/) {
  return true;
}

std::uint64_t HostileSet::freeSpace(const std::string& /*directory*/) {
  return 0;
}

}  // namespace fuzz
