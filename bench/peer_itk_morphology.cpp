#include "bench/peer_itk_morphology.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <itkBinaryDilateImageFilter.h>
#include <itkBinaryErodeImageFilter.h>
#include <itkFlatStructuringElement.h>
#include <itkImage.h>
#include <oneapi/tbb/global_control.h>
#include <utility>

namespace bench {

namespace {

using Bytes = itk::Image<std::uint8_t, 3>;
using Element = itk::FlatStructuringElement<3>;

unsigned threadsAllowed() {
  return static_cast<unsigned>(
      oneapi::tbb::global_control::active_value(oneapi::tbb::global_control::max_allowed_parallelism));
}

Bytes::Pointer emptyImage(const SbVec3i32& size) {
  const auto image = Bytes::New();
  image->SetRegions(Bytes::SizeType{static_cast<itk::SizeValueType>(size[0]), static_cast<itk::SizeValueType>(size[1]),
                                    static_cast<itk::SizeValueType>(size[2])});
  image->Allocate(true);
  return image;
}

/// Calls visit(first, end) for the bytes of each run of set voxels.
template <class Visit>
void forEachRun(Bytes& image, const hxvoxora::TileSnapshot& content, Visit visit) {
  const SbVec3i32& size = content.dimensions();
  content.forEachRun(content.grid().box(), [&](int y, int z, int x0, int x1) {
    std::uint8_t* const row = image.GetBufferPointer() + (std::int64_t{z} * size[1] + y) * size[0];
    visit(row + x0, row + x1);
  });
}

Element octahedron(int radius) {
  Element element;
  element.SetRadius(static_cast<itk::SizeValueType>(radius));
  for (unsigned i = 0; i < element.Size(); ++i) {
    const auto offset = element.GetOffset(i);
    element[i] = std::abs(offset[0]) + std::abs(offset[1]) + std::abs(offset[2]) <= radius;
  }
  return element;
}

template <class Filter>
Bytes::Pointer run(Filter& filter, Bytes& image, int radius) {
  filter.GetMultiThreader()->SetMaximumNumberOfThreads(threadsAllowed());
  filter.SetNumberOfWorkUnits(threadsAllowed());
  filter.SetInput(&image);
  filter.SetKernel(octahedron(radius));
  filter.SetForegroundValue(1);
  filter.SetBackgroundValue(0);
  filter.Update();
  return filter.GetOutput();
}

}  // namespace

struct ItkImage::Image {
  Bytes::Pointer bytes;
};

bool ItkImage::isAvailable() {
  return true;
}

ItkImage::ItkImage(std::unique_ptr<Image> image) : image_(std::move(image)) {}
ItkImage::ItkImage(ItkImage&&) noexcept = default;
ItkImage::~ItkImage() = default;

ItkImage::ItkImage(const hxvoxora::TileSnapshot& content) : image_(std::make_unique<Image>()) {
  image_->bytes = emptyImage(content.dimensions());
  forEachRun(*image_->bytes, content, [](std::uint8_t* first, std::uint8_t* end) { std::fill(first, end, 1); });
}

ItkImage ItkImage::grown(int iterations, bool isErosion) const {
  auto result = std::make_unique<Image>();
  if (isErosion) {
    const auto filter = itk::BinaryErodeImageFilter<Bytes, Bytes, Element>::New();
    filter->SetBoundaryToForeground(false);
    result->bytes = run(*filter, *image_->bytes, iterations);
  } else {
    const auto filter = itk::BinaryDilateImageFilter<Bytes, Bytes, Element>::New();
    result->bytes = run(*filter, *image_->bytes, iterations);
  }
  return ItkImage(std::move(result));
}

bool ItkImage::equals(const hxvoxora::TileSnapshot& content) const {
  std::uint64_t inRuns = 0;
  forEachRun(*image_->bytes, content, [&](const std::uint8_t* first, const std::uint8_t* end) {
    inRuns += static_cast<std::uint64_t>(std::count(first, end, 1));
  });
  const SbVec3i32& size = content.dimensions();
  const std::uint8_t* const bytes = image_->bytes->GetBufferPointer();
  const auto all = std::count(bytes, bytes + std::int64_t{size[0]} * size[1] * size[2], 1);
  return inRuns == static_cast<std::uint64_t>(all) && inRuns == content.countSetVoxels(content.grid().box());
}

}  // namespace bench
