#include "quarn/formats/detail/TiffVolume.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <optional>
#include <string_view>
#include <tiffio.h>

#include "quarn/formats/detail/RawVoxels.h"
#include "quarn/formats/detail/fault.h"
#include "quarn/formats/detail/voxelBytes.h"
#include "quarn/kernel/fields/soundLattice.h"

namespace quarn::formats::detail {

namespace {

/// A byte of LZW or "deflate" data holds at most so many.
constexpr std::int64_t compressionRatio = 4096;

std::optional<VoxelKind> kindOf(std::uint16_t format, std::uint16_t bits) {
  const bool isFloat = format == SAMPLEFORMAT_IEEEFP;
  const bool isSigned = format == SAMPLEFORMAT_INT;
  switch (bits) {
    case 8:
      if (!isFloat) return isSigned ? VoxelKind::Int8 : VoxelKind::UInt8;
      break;
    case 16:
      if (!isFloat) return isSigned ? VoxelKind::Int16 : VoxelKind::UInt16;
      break;
    case 32:
      if (isFloat) return VoxelKind::Float;
      return isSigned ? VoxelKind::Int32 : VoxelKind::UInt32;
    case 64:
      if (isFloat) return VoxelKind::Double;
      return isSigned ? VoxelKind::Int64 : VoxelKind::UInt64;
    default:
      break;
  }
  return std::nullopt;
}

void requirePlainNumbers(const TiffFile& tiff) {
  const std::uint16_t samples = tiff.shortField(TIFFTAG_SAMPLESPERPIXEL, 1);
  const std::uint16_t photometric = tiff.shortField(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
  const std::uint16_t format = tiff.shortField(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
  const auto refuseContent = [&](const QString& what) {
    tiff.refusePage(QStringLiteral("holds %1; plain numbers are needed").arg(what));
  };
  if (photometric == PHOTOMETRIC_PALETTE) refuseContent(QStringLiteral("colours of a palette"));
  if (photometric == PHOTOMETRIC_RGB && samples == 3) refuseContent(QStringLiteral("RGB colours"));
  if (photometric == PHOTOMETRIC_RGB && samples == 4) refuseContent(QStringLiteral("RGBA colours"));
  if (samples != 1) refuseContent(QStringLiteral("vectors of %1 components").arg(samples));
  if (format == SAMPLEFORMAT_COMPLEXINT || format == SAMPLEFORMAT_COMPLEXIEEEFP)
    refuseContent(QStringLiteral("complex numbers"));
  if (photometric == PHOTOMETRIC_MINISWHITE) refuseContent(QStringLiteral("numbers of which the smallest is white"));
  if (photometric != PHOTOMETRIC_MINISBLACK)
    refuseContent(QStringLiteral("colours (photometric interpretation %1)").arg(photometric));
}

VoxelKind kindOfPage(const TiffFile& tiff) {
  requirePlainNumbers(tiff);
  const std::uint16_t bits = tiff.shortField(TIFFTAG_BITSPERSAMPLE, 1);
  const std::uint16_t format = tiff.shortField(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
  const auto kind = kindOf(format, bits);
  if (!kind)
    tiff.refusePage(QStringLiteral("holds numbers of %1 bits (format %2), which are not read").arg(bits).arg(format));
  return *kind;
}

bool isPageCompressed(const TiffFile& tiff) {
  const std::uint16_t compression = tiff.shortField(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
  switch (compression) {
    case COMPRESSION_NONE:
      return false;
    case COMPRESSION_LZW:
    case COMPRESSION_PACKBITS:
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_DEFLATE:
      return true;
    default:
      break;
  }
  tiff.refusePage(QStringLiteral("has compression %1; none, LZW, PackBits and deflate are read").arg(compression));
}

/// A page does not tell how far the next one is: it is taken to be as far as the voxels of a row.
HxGeometry3 geometryOfPage(const TiffFile& tiff) {
  HxGeometry3 geometry;
  const std::uint16_t unit = tiff.shortField(TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
  const double millimetres = unit == RESUNIT_INCH ? 25.4 : unit == RESUNIT_CENTIMETER ? 10.0 : 0.0;
  const double x = tiff.floatField(TIFFTAG_XRESOLUTION, 0.0F);
  const double y = tiff.floatField(TIFFTAG_YRESOLUTION, 0.0F);
  const bool isTold = millimetres > 0.0 && x > 0.0 && y > 0.0 && std::isfinite(x) && std::isfinite(y);
  if (isTold) geometry.voxelSize = {millimetres / x, millimetres / y, millimetres / x};
  return geometry;
}

/// Tells the progress once in some MiB, and at the end.
class SparseProgress {
public:
  SparseProgress(const std::function<void(std::size_t done)>& progress, std::size_t all)
      : progress_(progress), all_(all) {}

  void advance(std::size_t done) {
    constexpr std::size_t step = std::size_t{4} << 20;
    if (done < all_ && done < told_ + step) return;
    told_ = done;
    progress_(done);
  }

private:
  const std::function<void(std::size_t)>& progress_;
  const std::size_t all_;
  std::size_t told_ = 0;
};

/// The number behind `name` in a text; 1 when it is not there.
std::int64_t numberBehind(const std::string& text, std::string_view name) {
  const std::size_t at = text.find(name);
  std::int64_t number = 1;
  if (at != std::string::npos) std::from_chars(text.data() + at + name.size(), text.data() + text.size(), number);
  return number;
}

}  // namespace

TiffVolume::TiffVolume(const QString& file, const Progress& progress) : tiff_(file) {
  std::array<std::int64_t, 3>& size = description_.dimensions;
  tiff_.forEachPage([&] {
    if (size[2] == 0) {
      size[0] = tiff_.longField(TIFFTAG_IMAGEWIDTH, 0);
      size[1] = tiff_.longField(TIFFTAG_IMAGELENGTH, 0);
      description_.kind = kindOfPage(tiff_);
      description_.geometry = geometryOfPage(tiff_);
      imageText_ = tiff_.textField(TIFFTAG_IMAGEDESCRIPTION);
    }
    checkPage();
    if (size[2]++ % 100 == 0) progress(0.0F);
  });
  if (size[2] == 0) refuse(file, QStringLiteral("has no page that is an image of its own"));
  requireOneSeries();
  requirePerpendicularLattice(description_.geometry, file);
  const std::int64_t bytes = voxelBytes(dimensions(), kind(), file);
  const std::int64_t available = lengthOf(file);
  if (isCompressed_) {
    constexpr std::int64_t few = std::int64_t{64} << 20;
    requireUnpackable(available, bytes, compressionRatio, file);
    // Room for many voxels is only made when they are there.
    if (bytes > few) readPages(nullptr, progress);
  } else if (available < bytes) {
    refuse(file, QStringLiteral("is cut: it holds %1 bytes, its pages %2").arg(available).arg(bytes));
  }
}

/// Microscopes and their programs keep channels and times as further pages, and tell so with the first one.
void TiffVolume::requireOneSeries() {
  const bool isImageJ = imageText_.starts_with("ImageJ=");
  if (!isImageJ && imageText_.find("<OME") == std::string::npos) return;
  const std::int64_t channels = numberBehind(imageText_, isImageJ ? "\nchannels=" : " SizeC=\"");
  const std::int64_t times = numberBehind(imageText_, isImageJ ? "\nframes=" : " SizeT=\"");
  const std::int64_t images = isImageJ ? numberBehind(imageText_, "\nimages=") : 1;
  if (channels > 1 || times > 1) {
    tiff_.refuseFile(
        QStringLiteral("holds a series of %1 channels and %2 times; one volume is needed").arg(channels).arg(times));
  }
  if (dimensions()[2] == 1 && images > 1)
    tiff_.refuseFile(QStringLiteral("holds %1 images in one page, which is not read").arg(images));
}

std::size_t TiffVolume::rowBytes() const {
  return static_cast<std::size_t>(dimensions()[0]) * bytesOf(kind());
}

void TiffVolume::checkPage() {
  const std::int64_t width = tiff_.longField(TIFFTAG_IMAGEWIDTH, 0);
  const std::int64_t height = tiff_.longField(TIFFTAG_IMAGELENGTH, 0);
  const bool isFirst = dimensions()[2] == 0;
  if (width == 0 || height == 0) tiff_.refusePage(QStringLiteral("has a size of %1 x %2").arg(width).arg(height));
  if (!isFirst && (width != dimensions()[0] || height != dimensions()[1])) {
    tiff_.refusePage(QStringLiteral("has a size of %1 x %2, the first %3 x %4")
                         .arg(width)
                         .arg(height)
                         .arg(dimensions()[0])
                         .arg(dimensions()[1]));
  }
  if (kindOfPage(tiff_) != kind()) tiff_.refusePage(QStringLiteral("holds numbers of another type than the first"));
  if (tiff_.longField(TIFFTAG_IMAGEDEPTH, 1) != 1) tiff_.refusePage(QStringLiteral("is a volume of its own"));
  const std::uint16_t orientation = tiff_.shortField(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  if (orientation < ORIENTATION_TOPLEFT || orientation > ORIENTATION_BOTLEFT)
    tiff_.refusePage(QStringLiteral("has orientation %1: its rows are columns, which is not read").arg(orientation));
  isCompressed_ = isPageCompressed(tiff_) || isCompressed_;
  // Also of a page that is read in tiles: it would be said of its rows if it was not.
  if (TIFFScanlineSize64(tiff_.get()) != rowBytes()) tiff_.refusePage(QStringLiteral("has rows of another length"));
}

void TiffVolume::readVoxels(void* voxels, const Progress& progress) {
  readPages(static_cast<std::byte*>(voxels), progress);
}

void TiffVolume::readPages(std::byte* voxels, const Progress& progress) {
  const std::size_t pageBytes = rowBytes() * static_cast<std::size_t>(dimensions()[1]);
  const auto count = static_cast<float>(dimensions()[2]);
  std::int64_t page = 0;
  tiff_.forEachPage([&] {
    if (page == dimensions()[2]) tiff_.refusePage(QStringLiteral("was not there before: the file was changed"));
    checkPage();
    std::byte* const start = voxels ? voxels + static_cast<std::size_t>(page) * pageBytes : nullptr;
    const auto pageProgress = [&](std::size_t done) {
      progress((static_cast<float>(page) + static_cast<float>(done) / static_cast<float>(pageBytes)) / count);
    };
    readPage(start, pageProgress);
    if (start) turnPage(start);
    ++page;
  });
  if (page < dimensions()[2]) tiff_.refusePage(QStringLiteral("is the last now: the file was changed"));
}

void TiffVolume::readPage(std::byte* page, const PageProgress& progress) {
  TIFFIsTiled(tiff_.get()) ? readTiles(page, progress) : readStrips(page, progress);
}

/// Puts the first row to the top and the first column to the left.
void TiffVolume::turnPage(std::byte* page) const {
  const std::uint16_t orientation = tiff_.shortField(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  const bool turnsRows = orientation == ORIENTATION_BOTLEFT || orientation == ORIENTATION_BOTRIGHT;
  const bool turnsColumns = orientation == ORIENTATION_TOPRIGHT || orientation == ORIENTATION_BOTRIGHT;
  const auto width = static_cast<std::size_t>(dimensions()[0]);
  const auto height = static_cast<std::size_t>(dimensions()[1]);
  const auto rowAt = [&](std::size_t row) { return page + row * rowBytes(); };
  for (std::size_t row = 0; turnsRows && row < height / 2; ++row)
    std::swap_ranges(rowAt(row), rowAt(row + 1), rowAt(height - 1 - row));
  for (std::size_t row = 0; turnsColumns && row < height; ++row) {
    visitKind(kind(), [&](auto type) {
      using Voxel = std::array<std::byte, sizeof(typename decltype(type)::type)>;
      auto* const voxels = reinterpret_cast<Voxel*>(rowAt(row));
      std::reverse(voxels, voxels + width);
    });
  }
}

/// Row by row, since a strip may be a whole page, in which nobody could interrupt.
void TiffVolume::readStrips(std::byte* page, const PageProgress& progress) {
  const auto height = static_cast<std::uint32_t>(dimensions()[1]);
  if (tiff_.longField(TIFFTAG_ROWSPERSTRIP, height) == 0) tiff_.refusePage(QStringLiteral("has strips without rows"));
  if (!page) tile_.resize(rowBytes());
  SparseProgress told(progress, rowBytes() * height);
  for (std::uint32_t row = 0; row < height; ++row) {
    std::byte* const target = page ? page + row * rowBytes() : tile_.data();
    if (TIFFReadScanline(tiff_.get(), target, row, 0) != 1) tiff_.refusePage(QStringLiteral("is cut or damaged"), true);
    told.advance((row + 1) * rowBytes());
  }
}

void TiffVolume::readTiles(std::byte* page, const PageProgress& progress) {
  const std::uint32_t tileWidth = tiff_.longField(TIFFTAG_TILEWIDTH, 0);
  const std::uint32_t tileHeight = tiff_.longField(TIFFTAG_TILELENGTH, 0);
  // A tile may be larger than its page, but not without bound.
  constexpr std::uint64_t commonTile = std::uint64_t{1} << 24;
  const std::uint64_t largestTile = std::max(commonTile, 2 * rowBytes() * static_cast<std::uint64_t>(dimensions()[1]));
  const std::uint64_t tileRow = std::uint64_t{tileWidth} * bytesOf(kind());
  const std::uint64_t tileBytes = TIFFTileSize64(tiff_.get());
  if (tileBytes == 0 || tileBytes > largestTile || tileBytes != tileRow * tileHeight)
    tiff_.refusePage(QStringLiteral("has tiles of %1 x %2, which are not read").arg(tileWidth).arg(tileHeight));
  const std::int64_t ratio = isPageCompressed(tiff_) ? compressionRatio : 1;
  if (static_cast<std::int64_t>(tileBytes) / ratio > tiff_.fileBytes())
    tiff_.refusePage(QStringLiteral("is cut: it has tiles of %1 bytes").arg(tileBytes));
  tile_.resize(tileBytes);
  SparseProgress told(progress, rowBytes() * static_cast<std::size_t>(dimensions()[1]));
  const auto width = static_cast<std::uint32_t>(dimensions()[0]);
  const auto height = static_cast<std::uint32_t>(dimensions()[1]);
  for (std::uint64_t y = 0; y < height; y += tileHeight) {
    for (std::uint64_t x = 0; x < width; x += tileWidth) {
      const std::uint32_t number =
          TIFFComputeTile(tiff_.get(), static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y), 0, 0);
      const auto wanted = static_cast<tmsize_t>(tileBytes);
      if (TIFFReadEncodedTile(tiff_.get(), number, tile_.data(), wanted) != wanted)
        tiff_.refusePage(QStringLiteral("is cut or damaged"), true);
      const std::size_t rowPart = std::min<std::uint64_t>(tileWidth, width - x) * bytesOf(kind());
      const std::uint64_t rows = std::min<std::uint64_t>(tileHeight, height - y);
      for (std::uint64_t row = 0; page && row < rows; ++row)
        std::memcpy(page + (y + row) * rowBytes() + x * bytesOf(kind()), tile_.data() + row * tileRow, rowPart);
      told.advance(y * rowBytes() + x * bytesOf(kind()) * rows);
    }
  }
  told.advance(rowBytes() * height);
}

}  // namespace quarn::formats::detail
