#include "hxroi/details/StagedFile.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <span>
#include <vector>

#include "hxroi/details/logFailure.h"
#include "quarn/base/McException.h"
#include "quarn/voxora/files/fileSetParts.h"

namespace hxroi::details {

namespace {

constexpr std::size_t kPieceBytes = std::size_t{4} << 20;

void requirePlainFile(hxvoxora::FileSystem& files, const std::string& path) {
  const hxvoxora::FileKind kind = files.kind(path);
  if (kind == hxvoxora::FileKind::missing || kind == hxvoxora::FileKind::regular) return;
  throw McException(McException::excerpt(path) + ": is not a regular file and is not replaced");
}

}  // namespace

StagedFile::StagedFile(hxvoxora::FileSystem& files, const std::string& target, std::uint64_t mark,
                       hxvoxora::FileSystem::Access access)
    : files_(files), target_(target), path_(hxvoxora::asideName(target, mark)) {
  requirePlainFile(files, target);
  file_ = files.createExclusively(path_, access);
}

StagedFile::~StagedFile() {
  if (isInPlace_) return;
  file_.reset();
  try {
    files_.remove(path_);
  } catch (const std::exception& failure) {
    logFailure("A temporary file was left", failure.what());
  }
}

std::unique_ptr<hxvoxora::FileLock> StagedFile::lock() const {
  std::unique_ptr<hxvoxora::FileLock> lock;
  try {
    lock = files_.tryLock(path_);
  } catch (const McException&) {
    return nullptr;
  }
  if (lock) return lock;
  throw McException(McException::excerpt(path_) + ": another save has just locked this file; save again");
}

void StagedFile::write(std::string_view text) {
  file_->append(std::as_bytes(std::span(text)));
}

bool StagedFile::copyFrom(const hxvoxora::InputFile& source, const hxvoxora::WorkCallback& goOn) {
  const std::uint64_t size = source.identity().size;
  std::vector<std::byte> piece(static_cast<std::size_t>(std::min<std::uint64_t>(size, kPieceBytes)));
  for (std::uint64_t done = 0; done < size; done += piece.size()) {
    if (goOn && !goOn(static_cast<double>(done) / static_cast<double>(size))) return false;
    piece.resize(static_cast<std::size_t>(std::min<std::uint64_t>(size - done, kPieceBytes)));
    source.readFully(done, piece);
    file_->append(piece);
  }
  return true;
}

void StagedFile::complete() {
  file_->sync();
  file_->close();
}

void StagedFile::moveIntoPlace() {
  files_.rename(path_, target_);
  isInPlace_ = true;
}

}  // namespace hxroi::details
