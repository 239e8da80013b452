#include "quarn/formats/detail/TiffFile.h"

#include <QFile>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <exception>
#include <span>
#include <tiffio.h>

#include "quarn/formats/detail/RawVoxels.h"
#include "quarn/formats/detail/fault.h"
#include "quarn/voxora/files/FileSystem.h"

namespace quarn::formats::detail {

struct TiffFile::Source {
  std::unique_ptr<hxvoxora::InputFile> input;
  std::uint64_t size = 0;
  std::uint64_t position = 0;
  std::string reason;  ///< the library's last words

  static Source& of(thandle_t handle) { return *static_cast<Source*>(handle); }

  // No exception may pass the library.
  static tmsize_t read(thandle_t handle, void* buffer, tmsize_t count) {
    Source& source = of(handle);
    try {
      const std::span out(static_cast<std::byte*>(buffer), static_cast<std::size_t>(count));
      const std::size_t got = source.input->readAt(source.position, out);
      source.position += got;
      return static_cast<tmsize_t>(got);
    } catch (const std::exception& failure) {
      source.reason = failure.what();
      return -1;
    }
  }

  static tmsize_t write(thandle_t, void*, tmsize_t) { return -1; }

  static toff_t seek(thandle_t handle, toff_t offset, int from) {
    Source& source = of(handle);
    if (from == SEEK_SET) source.position = offset;
    if (from == SEEK_CUR) source.position += offset;
    if (from == SEEK_END) source.position = source.size + offset;
    return source.position;
  }

  static int close(thandle_t) { return 0; }
  static toff_t length(thandle_t handle) { return of(handle).size; }
  static int map(thandle_t, void**, toff_t*) { return 0; }
  static void unmap(thandle_t, void*, toff_t) {}

  static int noteError(tiff*, void* source, const char*, const char* format, va_list arguments) {
    std::array<char, 400> text{};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    static_cast<Source*>(source)->reason = text.data();
    return 1;
  }
  static int dropWarning(tiff*, void*, const char*, const char*, va_list) { return 1; }
};

TiffFile::TiffFile(const QString& file) : file_(file), source_(std::make_unique<Source>()) {
  using hxvoxora::FileSystem;
  source_->size = static_cast<std::uint64_t>(lengthOf(file));
  source_->input =
      FileSystem::current().openForReading(QFile::encodeName(file).toStdString(), FileSystem::Links::follow);
  open();
  if (!tiff_) refuse(file_, QStringLiteral("is not a TIFF image: ") + QString::fromStdString(source_->reason));
}

TiffFile::~TiffFile() {
  TIFFClose(tiff_);
}

void TiffFile::open() {
  constexpr tmsize_t mostAtOnce = tmsize_t{1} << 30;
  const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> options(TIFFOpenOptionsAlloc(),
                                                                             &TIFFOpenOptionsFree);
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), mostAtOnce);
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), &Source::noteError, source_.get());
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), &Source::dropWarning, nullptr);
  tiff_ = TIFFClientOpenExt("image", "rm", source_.get(), &Source::read, &Source::write, &Source::seek, &Source::close,
                            &Source::length, &Source::map, &Source::unmap, options.get());
}

void TiffFile::forEachPage(const std::function<void()>& visit) {
  page_ = 1;
  if (!TIFFSetDirectory(tiff_, 0)) refusePage(QStringLiteral("cannot be read"), true);
  for (;; ++page_) {
    const bool isCopy = (longField(TIFFTAG_SUBFILETYPE, 0) & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK)) != 0;
    if (!isCopy) visit();
    requireWholeDirectory();
    if (TIFFLastDirectory(tiff_)) return;
    source_->reason.clear();
    if (!TIFFReadDirectory(tiff_)) {
      ++page_;
      refusePage(QStringLiteral("cannot be read"), true);
    }
  }
}

/// A directory that is cut where it leads to the next one passes for the last one.
void TiffFile::requireWholeDirectory() const {
  const bool isBig = TIFFIsBigTIFF(tiff_) != 0;
  std::array<std::byte, 8> bytes{};
  const std::uint64_t start = TIFFCurrentDirOffset(tiff_);
  const std::span<std::byte> count = std::span(bytes).first(isBig ? 8 : 2);
  source_->input->readFully(start, count);
  std::uint64_t entries = 0;
  for (std::size_t i = 0; i < count.size(); ++i) {
    const std::size_t next = TIFFIsBigEndian(tiff_) ? i : count.size() - 1 - i;
    entries = entries << 8 | std::to_integer<std::uint64_t>(count[next]);
  }
  const std::uint64_t size = isBig ? 8 + 20 * entries + 8 : 2 + 12 * entries + 4;
  if (start + size > source_->size) refusePage(QStringLiteral("is cut: its list of fields has no end"));
}

std::uint32_t TiffFile::longField(std::uint32_t tag, std::uint32_t otherwise) const {
  std::uint32_t value = otherwise;
  return TIFFGetFieldDefaulted(tiff_, tag, &value) ? value : otherwise;
}

std::uint16_t TiffFile::shortField(std::uint32_t tag, std::uint16_t otherwise) const {
  std::uint16_t value = otherwise;
  return TIFFGetFieldDefaulted(tiff_, tag, &value) ? value : otherwise;
}

float TiffFile::floatField(std::uint32_t tag, float otherwise) const {
  float value = otherwise;
  return TIFFGetFieldDefaulted(tiff_, tag, &value) ? value : otherwise;
}

std::string TiffFile::textField(std::uint32_t tag) const {
  const char* value = nullptr;
  return TIFFGetField(tiff_, tag, &value) && value ? std::string(value) : std::string();
}

std::int64_t TiffFile::fileBytes() const {
  return static_cast<std::int64_t>(source_->size);
}

void TiffFile::refuseFile(const QString& what) const {
  refuse(file_, what);
}

void TiffFile::refusePage(const QString& what, bool withReason) const {
  const QString reason = QString::fromStdString(source_->reason).simplified();
  refuse(file_, QStringLiteral("page %1 %2").arg(QString::number(page_), what) +
                    (withReason && !reason.isEmpty() ? QStringLiteral(": ") + reason : QString()));
}

}  // namespace quarn::formats::detail
