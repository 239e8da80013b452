#include "bench/peer_itk_labels.h"

#include <algorithm>
#include <itkImage.h>
#include <itkLabelImageToLabelMapFilter.h>
#include <itkLabelMap.h>
#include <itkLabelMapToLabelImageFilter.h>
#include <itkLabelObject.h>
#include <oneapi/tbb/global_control.h>

namespace bench {

namespace {

using Bytes = itk::Image<std::uint8_t, 3>;
using Objects = itk::LabelMap<itk::LabelObject<std::uint8_t, 3>>;

unsigned threadsAllowed() {
  return static_cast<unsigned>(
      oneapi::tbb::global_control::active_value(oneapi::tbb::global_control::max_allowed_parallelism));
}

template <class Filter>
void run(Filter& filter) {
  filter.GetMultiThreader()->SetMaximumNumberOfThreads(threadsAllowed());
  filter.SetNumberOfWorkUnits(threadsAllowed());
  filter.Update();
}

}  // namespace

struct ItkLabels::Image {
  Bytes::Pointer bytes = Bytes::New();
  Objects::Pointer objects;
};

bool ItkLabels::isAvailable() {
  return true;
}

ItkLabels::ItkLabels(const SbVec3i32& size, std::span<const std::uint8_t> labels) : image_(std::make_unique<Image>()) {
  Bytes& bytes = *image_->bytes;
  bytes.SetRegions(Bytes::SizeType{static_cast<itk::SizeValueType>(size[0]), static_cast<itk::SizeValueType>(size[1]),
                                   static_cast<itk::SizeValueType>(size[2])});
  bytes.Allocate();
  std::ranges::copy(labels, bytes.GetBufferPointer());
}

ItkLabels::~ItkLabels() = default;

std::size_t ItkLabels::separate() {
  const auto filter = itk::LabelImageToLabelMapFilter<Bytes, Objects>::New();
  filter->SetInput(image_->bytes);
  filter->SetBackgroundValue(0);
  run(*filter);
  image_->objects = filter->GetOutput();
  return image_->objects->GetNumberOfLabelObjects();
}

std::uint64_t ItkLabels::join() const {
  const auto filter = itk::LabelMapToLabelImageFilter<Objects, Bytes>::New();
  filter->SetInput(image_->objects);
  run(*filter);
  const Bytes& joined = *filter->GetOutput();
  return joined.GetBufferPointer()[joined.GetLargestPossibleRegion().GetNumberOfPixels() / 2];
}

}  // namespace bench
