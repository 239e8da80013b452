#include <algorithm>
#include <itkConnectedComponentImageFilter.h>
#include <itkImage.h>
#include <oneapi/tbb/global_control.h>

#include "bench/peer_itk.h"

namespace bench {

namespace {

using Bytes = itk::Image<std::uint8_t, 3>;
using Labels = itk::Image<std::uint32_t, 3>;

unsigned threadsAllowed() {
  return static_cast<unsigned>(
      oneapi::tbb::global_control::active_value(oneapi::tbb::global_control::max_allowed_parallelism));
}

}  // namespace

struct ItkMask::Image {
  Bytes::Pointer bytes = Bytes::New();
};

bool ItkMask::isAvailable() {
  return true;
}

ItkMask::ItkMask(const hxvoxora::TileSnapshot& content) : image_(std::make_unique<Image>()) {
  const SbVec3i32& size = content.dimensions();
  Bytes& bytes = *image_->bytes;
  bytes.SetRegions(Bytes::SizeType{static_cast<itk::SizeValueType>(size[0]), static_cast<itk::SizeValueType>(size[1]),
                                   static_cast<itk::SizeValueType>(size[2])});
  bytes.Allocate(true);
  std::uint8_t* voxels = bytes.GetBufferPointer();
  content.forEachRun(content.grid().box(), [&](int y, int z, int x0, int x1) {
    std::uint8_t* row = voxels + (std::int64_t{z} * size[1] + y) * size[0];
    std::fill(row + x0, row + x1, std::uint8_t{1});
  });
}

ItkMask::~ItkMask() = default;

std::uint64_t ItkMask::countComponents() const {
  const auto filter = itk::ConnectedComponentImageFilter<Bytes, Labels>::New();
  filter->GetMultiThreader()->SetMaximumNumberOfThreads(threadsAllowed());
  filter->SetNumberOfWorkUnits(threadsAllowed());
  filter->SetInput(image_->bytes);
  filter->FullyConnectedOff();
  filter->Update();
  return filter->GetObjectCount();
}

}  // namespace bench
