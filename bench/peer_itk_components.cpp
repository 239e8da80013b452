#include <algorithm>
#include <array>
#include <itkConnectedComponentImageFilter.h>
#include <itkImage.h>
#include <limits>
#include <oneapi/tbb/global_control.h>
#include <vector>

#include "bench/peer_itk.h"

namespace bench {

namespace {

using Bytes = itk::Image<std::uint8_t, 3>;

unsigned threadsAllowed() {
  return static_cast<unsigned>(
      oneapi::tbb::global_control::active_value(oneapi::tbb::global_control::max_allowed_parallelism));
}

template <typename Label>
using Filter = itk::ConnectedComponentImageFilter<Bytes, itk::Image<Label, 3>>;

template <typename Label>
typename Filter<Label>::Pointer labelled(Bytes* bytes) {
  const auto filter = Filter<Label>::New();
  filter->GetMultiThreader()->SetMaximumNumberOfThreads(threadsAllowed());
  filter->SetNumberOfWorkUnits(threadsAllowed());
  filter->SetInput(bytes);
  filter->FullyConnectedOff();
  filter->Update();
  return filter;
}

/// What an image of labels tells of one of them; narrow, since there may be millions.
struct Piece {
  std::uint32_t voxels = 0;
  std::array<std::int16_t, 3> min{}, max{};

  void add(const std::array<std::int16_t, 3>& voxel) {
    if (voxels++ == 0) min = max = voxel;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      min[axis] = std::min(min[axis], voxel[axis]);
      max[axis] = std::max(max[axis], voxel[axis]);
    }
  }
};

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

std::uint64_t ItkMask::countComponents(std::uint64_t expected) const {
  if (expected <= std::numeric_limits<std::uint8_t>::max())
    return labelled<std::uint8_t>(image_->bytes)->GetObjectCount();
  if (expected <= std::numeric_limits<std::uint16_t>::max())
    return labelled<std::uint16_t>(image_->bytes)->GetObjectCount();
  return labelled<std::uint32_t>(image_->bytes)->GetObjectCount();
}

void ItkMask::measureComponents(const std::function<void(std::uint64_t, const SbBox3i32&)>& sink) const {
  const auto filter = labelled<std::uint32_t>(image_->bytes);
  const auto& labels = *filter->GetOutput();
  const auto size = labels.GetLargestPossibleRegion().GetSize();
  const std::uint32_t* label = labels.GetBufferPointer();
  std::vector<Piece> pieces(filter->GetObjectCount() + 1);
  const auto narrow = [](std::size_t place) { return static_cast<std::int16_t>(place); };
  for (std::size_t z = 0; z < size[2]; ++z)
    for (std::size_t y = 0; y < size[1]; ++y)
      for (std::size_t x = 0; x < size[0]; ++x, ++label)
        if (*label != 0) pieces.at(*label).add({narrow(x), narrow(y), narrow(z)});
  for (const Piece& piece : pieces)
    if (piece.voxels > 0)
      sink(piece.voxels, {{piece.min[0], piece.min[1], piece.min[2]}, {piece.max[0], piece.max[1], piece.max[2]}});
}

}  // namespace bench
