#include "quarn/formats/detail/DicomSlice.h"

#include <QFile>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>
#include <vector>

#include "quarn/formats/detail/DicomElements.h"
#include "quarn/formats/detail/fault.h"
#include "quarn/voxora/files/FileSystem.h"

namespace quarn::formats::detail {

namespace {

using Tag = DicomElements::Tag;

constexpr Tag descriptionTag = 0x0008103E;
constexpr Tag thicknessTag = 0x00180050;
constexpr Tag seriesTag = 0x0020000E;
constexpr Tag positionTag = 0x00200032;
constexpr Tag orientationTag = 0x00200037;
constexpr Tag samplesTag = 0x00280002;
constexpr Tag photometricTag = 0x00280004;
constexpr Tag framesTag = 0x00280008;
constexpr Tag rowsTag = 0x00280010;
constexpr Tag columnsTag = 0x00280011;
constexpr Tag pixelSizeTag = 0x00280030;
constexpr Tag allocatedTag = 0x00280100;
constexpr Tag storedTag = 0x00280101;
constexpr Tag highBitTag = 0x00280102;
constexpr Tag signTag = 0x00280103;
constexpr Tag interceptTag = 0x00281052;
constexpr Tag slopeTag = 0x00281053;

void requirePlainNumbers(const DicomElements& elements) {
  const std::string photometric = elements.text(photometricTag);
  const std::int64_t samples = elements.number(samplesTag, 1);
  const QString& file = elements.file();
  if (photometric == "RGB") refuse(file, QStringLiteral("holds RGB colours; plain numbers are needed"));
  if (photometric != "MONOCHROME1" && photometric != "MONOCHROME2")
    elements.refuseValue(photometricTag, QStringLiteral("plain numbers (MONOCHROME1 or MONOCHROME2) are needed"));
  if (samples != 1)
    refuse(file, QStringLiteral("holds vectors of %1 components; plain numbers are needed").arg(samples));
  const auto frames = elements.decimals(framesTag, 1);
  if (frames && frames->front() != 1.0) {
    refuse(file, QStringLiteral("holds %1 frames; files with one slice each are needed").arg(frames->front()));
  }
}

/// Refuses what would change the numbers or their place and is not read.
void requireNothingElse(const DicomElements& elements) {
  const auto refuseElement = [&](Tag tag, const char* what) {
    refuse(elements.file(), QStringLiteral("holds ") + QLatin1String(what) + QStringLiteral(" (element ") +
                                tagText(tag) + QStringLiteral("), which is not read"));
  };
  for (const Tag tag : {DicomElements::sharedGroups, DicomElements::frameGroups})
    if (elements.isNoted(tag)) refuseElement(tag, "an enhanced image, with place and scale for each frame");
  if (elements.isNoted(DicomElements::valueTable))
    refuseElement(DicomElements::valueTable, "a table of what its pixels mean");
  if (elements.isNoted(DicomElements::floatPixels)) refuseElement(DicomElements::floatPixels, "pixels of 32-bit reals");
  if (elements.isNoted(DicomElements::doublePixels))
    refuseElement(DicomElements::doublePixels, "pixels of 64-bit reals");
}

void readLayout(const DicomElements& elements, DicomSlice& slice) {
  slice.columns = elements.number(columnsTag, 0);
  slice.rows = elements.number(rowsTag, 0);
  slice.bitsAllocated = static_cast<int>(elements.number(allocatedTag, 0));
  slice.bitsStored = static_cast<int>(elements.number(storedTag, slice.bitsAllocated));
  slice.isSigned = elements.number(signTag, 0) != 0;
  if (slice.columns == 0 || slice.rows == 0) {
    refuse(slice.file,
           QStringLiteral("is said to have %1 x %2 pixels, which is no size").arg(slice.columns).arg(slice.rows));
  }
  const int bits = slice.bitsAllocated;
  if (bits != 8 && bits != 16 && bits != 32)
    refuse(slice.file, QStringLiteral("holds pixels of %1 bits; 8, 16 and 32 are read").arg(bits));
  const std::int64_t highBit = elements.number(highBitTag, slice.bitsStored - 1);
  if (slice.bitsStored < 1 || slice.bitsStored > bits || highBit != slice.bitsStored - 1) {
    refuse(slice.file, QStringLiteral("has %1 bits up to bit %2 in pixels of %3 bits, which is not read")
                           .arg(slice.bitsStored)
                           .arg(highBit)
                           .arg(bits));
  }
}

void readPlace(const DicomElements& elements, DicomSlice& slice) {
  if (const auto numbers = elements.decimals(positionTag, 3))
    std::ranges::copy(*numbers, slice.position.emplace().begin());
  if (const auto numbers = elements.decimals(orientationTag, 6))
    std::ranges::copy(*numbers, slice.orientation.emplace().begin());
  // The distance of rows comes first.
  if (const auto numbers = elements.decimals(pixelSizeTag, 2)) {
    slice.pixelSize = {(*numbers)[1], (*numbers)[0]};
    slice.hasPixelSize = true;
  }
  if (const auto numbers = elements.decimals(thicknessTag, 1); numbers && numbers->front() > 0.0)
    slice.thickness = numbers->front();
}

/// Smallest and largest number that so many bits can be.
std::array<double, 2> rangeOf(const DicomSlice& slice) {
  const double count = std::ldexp(1.0, slice.bitsStored);
  const double least = slice.isSigned ? -count / 2 : 0.0;
  const double ends[] = {least * slice.slope + slice.intercept, (least + count - 1) * slice.slope + slice.intercept};
  return {std::min(ends[0], ends[1]), std::max(ends[0], ends[1])};
}

VoxelKind unscaledKind(const DicomSlice& slice) {
  if (slice.bitsAllocated == 8) return slice.isSigned ? VoxelKind::Int8 : VoxelKind::UInt8;
  if (slice.bitsAllocated == 16) return slice.isSigned ? VoxelKind::Int16 : VoxelKind::UInt16;
  return slice.isSigned ? VoxelKind::Int32 : VoxelKind::UInt32;
}

/// The numbers of a slice from their bytes, least significant first.
class PixelDecoder {
public:
  explicit PixelDecoder(const DicomSlice& slice)
      : bytes_(static_cast<std::size_t>(slice.bitsAllocated / 8)),
        mask_((std::uint64_t{1} << slice.bitsStored) - 1),
        sign_(slice.isSigned ? std::uint64_t{1} << (slice.bitsStored - 1) : 0) {}

  std::int64_t at(const std::byte* pixels, std::size_t index) const {
    std::uint64_t bits = 0;
    for (std::size_t i = bytes_; i > 0; --i)
      bits = bits << 8 | std::to_integer<std::uint64_t>(pixels[index * bytes_ + i - 1]);
    bits &= mask_;
    return static_cast<std::int64_t>(bits ^ sign_) - static_cast<std::int64_t>(sign_);
  }

private:
  std::size_t bytes_;
  std::uint64_t mask_;
  std::uint64_t sign_;
};

}  // namespace

std::optional<DicomSlice> DicomSlice::read(const QString& file) {
  const std::optional<DicomElements> elements = DicomElements::read(file);
  if (!elements || (!elements->has(rowsTag) && elements->pixelOffset() == 0)) return std::nullopt;
  DicomSlice slice;
  slice.file = file;
  slice.fileBytes = elements->fileBytes();
  slice.series = elements->text(seriesTag);
  slice.description = elements->text(descriptionTag);
  requirePlainNumbers(*elements);
  requireNothingElse(*elements);
  readLayout(*elements, slice);
  readPlace(*elements, slice);
  if (const auto slope = elements->decimals(slopeTag, 1)) slice.slope = slope->front();
  if (const auto intercept = elements->decimals(interceptTag, 1)) slice.intercept = intercept->front();
  if (slice.slope == 0.0) elements->refuseValue(slopeTag, QStringLiteral("pixels cannot be scaled with it"));
  slice.pixelOffset = elements->pixelOffset();
  if (elements->pixelBytes() < slice.pixelBytes()) {
    refuse(file, QStringLiteral("is cut: it holds %1 bytes of pixels, its header asks for %2")
                     .arg(elements->pixelBytes())
                     .arg(slice.pixelBytes()));
  }
  return slice;
}

void DicomSlice::readPixels(VoxelKind kind, void* out, const ImageVolume::Progress& progress) const {
  using hxvoxora::FileSystem;
  constexpr std::size_t pieceBytes = std::size_t{4} << 20;  // a multiple of every size of a pixel
  const auto input =
      FileSystem::current().openForReading(QFile::encodeName(file).toStdString(), FileSystem::Links::follow);
  const PixelDecoder decoder(*this);
  const auto all = static_cast<std::size_t>(pixelBytes());
  const auto size = static_cast<std::size_t>(bitsAllocated / 8);
  std::vector<std::byte> pixels;
  for (std::size_t done = 0; done < all; done += pixels.size()) {
    pixels.resize(std::min(pieceBytes, all - done));
    input->readFully(pixelOffset + done, pixels);
    visitKind(kind, [&](auto type) {
      using T = typename decltype(type)::type;
      auto* const values = static_cast<T*>(out) + done / size;
      for (std::size_t i = 0; i < pixels.size() / size; ++i) {
        const std::int64_t pixel = decoder.at(pixels.data(), i);
        values[i] = isScaled() ? static_cast<T>(static_cast<double>(pixel) * slope + intercept) : static_cast<T>(pixel);
      }
    });
    progress(static_cast<float>(done + pixels.size()) / static_cast<float>(all));
  }
}

VoxelKind commonKind(const std::vector<DicomSlice>& slices) {
  const VoxelKind first = unscaledKind(slices.front());
  const bool isAsStored = std::ranges::all_of(
      slices, [&](const DicomSlice& slice) { return !slice.isScaled() && unscaledKind(slice) == first; });
  if (isAsStored) return first;
  double least = 0.0;
  double greatest = 0.0;
  for (const DicomSlice& slice : slices) {
    if (slice.slope != std::floor(slice.slope) || slice.intercept != std::floor(slice.intercept))
      return VoxelKind::Float;
    const auto [low, high] = rangeOf(slice);
    least = std::min(least, low);
    greatest = std::max(greatest, high);
  }
  if (least >= -32768.0 && greatest <= 32767.0) return VoxelKind::Int16;
  if (least >= -2147483648.0 && greatest <= 2147483647.0) return VoxelKind::Int32;
  return VoxelKind::Double;
}

}  // namespace quarn::formats::detail
