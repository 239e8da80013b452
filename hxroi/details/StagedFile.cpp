#include "hxroi/details/StagedFile.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <span>
#include <unistd.h>
#include <vector>

#include "hxroi/details/logFailure.h"
#include "quarn/base/McException.h"

namespace hxroi::details {

namespace {

constexpr std::size_t kPieceBytes = std::size_t{4} << 20;

/// A name that no other process or thread uses for its new file.
std::string besideName(const std::string& target) {
  static std::atomic<unsigned> count{0};
  return target + "~new-" + std::to_string(::getpid()) + "-" + std::to_string(count++);
}

void requirePlainFile(hxvoxora::FileSystem& files, const std::string& path) {
  const hxvoxora::FileKind kind = files.kind(path);
  if (kind == hxvoxora::FileKind::missing || kind == hxvoxora::FileKind::regular) return;
  throw McException(McException::excerpt(path) + ": is not a regular file and is not replaced");
}

}  // namespace

StagedFile::StagedFile(hxvoxora::FileSystem& files, const std::string& target, hxvoxora::FileSystem::Access access)
    : files_(files), target_(target), path_(besideName(target)) {
  requirePlainFile(files, target);
  file_ = files.createExclusively(path_, access);
}

StagedFile::~StagedFile() {
  if (isInPlace_) return;
  file_.reset();
  remove(path_);
}

void StagedFile::write(std::string_view text) {
  file_->append(std::as_bytes(std::span(text)));
}

void StagedFile::copyFrom(const hxvoxora::InputFile& source) {
  const std::uint64_t size = source.identity().size;
  std::vector<std::byte> piece(static_cast<std::size_t>(std::min<std::uint64_t>(size, kPieceBytes)));
  for (std::uint64_t done = 0; done < size; done += piece.size()) {
    piece.resize(static_cast<std::size_t>(std::min<std::uint64_t>(size - done, kPieceBytes)));
    source.readFully(done, piece);
    file_->append(piece);
  }
}

void StagedFile::complete() {
  file_->sync();
  file_->close();
}

void StagedFile::moveIntoPlace() {
  files_.rename(path_, target_);
  isInPlace_ = true;
}

void StagedFile::takeBack() noexcept {
  if (isInPlace_) remove(target_);
}

void StagedFile::remove(const std::string& path) noexcept {
  try {
    files_.remove(path);
  } catch (const std::exception& failure) {
    logFailure("A temporary file was left", failure.what());
  }
}

}  // namespace hxroi::details
