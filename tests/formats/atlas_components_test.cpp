#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <span>
#include <vector>

#include "quarn/formats/readNifti.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/voxora/components/findComponents.h"
#include "quarn/voxora/nodes/SoCpuBufferBitSet.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "tests/formats/atlasPieces.h"
#include "tests/formats/testFiles.h"

/// The pieces of the labels of real atlases.

namespace {

using hxvoxora::Component;
using hxvoxora::Neighbours;
using hxvoxora::TileSnapshot;

using Labels = std::span<const std::uint8_t>;

McHandle<HxUniformLabelField3> readAtlas(const char* image, const char* values) {
  HxLoadOptions options;
  if (*values) options.values = HxLoadOptions::parseRanges(QLatin1String(values));
  const McHandle<HxUniformScalarField3> field = quarn::formats::readNifti(atlasFile(QLatin1String(image)), options);
  auto* const labels = dynamic_cast<HxUniformLabelField3*>(field.get());
  EXPECT_NE(labels, nullptr) << image;
  return labels;
}

Labels labelsOf(const HxUniformLabelField3& field) {
  return {field.lattice().getLabels(0), static_cast<std::size_t>(field.voxelCount())};
}

/// The voxels that have a label.
TileSnapshot voxelsOf(const HxUniformLabelField3& field, std::uint8_t label) {
  const McDim3l size = field.latticeDimensions();
  const Labels labels = labelsOf(field);
  const auto bits = hxvoxora::makeRef<SoCpuBufferBitSet>();
  bits->setSize(labels.size());
  std::fill_n(bits->bytes(), bits->getByteSize(), std::byte{0});
  for (std::size_t i = 0; i < labels.size(); ++i)
    if (labels[i] == label) bits->bytes()[i / 8] |= static_cast<std::byte>(0x80 >> (i % 8));
  const auto mask = hxvoxora::makeRef<SoVolumeMask>();
  const SbVec3i32 dimensions(static_cast<std::int32_t>(size.nx), static_cast<std::int32_t>(size.ny),
                             static_cast<std::int32_t>(size.nz));
  mask->initializeInMemory(dimensions, {64, 64, 64});
  const int edit = mask->beginTransaction();
  mask->replaceBox({{0, 0, 0}, {dimensions[0] - 1, dimensions[1] - 1, dimensions[2] - 1}}, bits.get());
  mask->endTransaction(edit);
  return mask->snapshot();
}

void expectPieces(const HxUniformLabelField3& field, std::span<const atlas_pieces::Pieces> expected) {
  const Labels labels = labelsOf(field);
  std::vector<std::uint64_t> voxels(256);
  for (const std::uint8_t label : labels) ++voxels[label];
  std::size_t index = 0;
  for (unsigned label = 1; label < 256; ++label) {
    if (voxels[label] == 0) continue;
    ASSERT_LT(index, expected.size());
    const TileSnapshot content = voxelsOf(field, static_cast<std::uint8_t>(label));
    for (const Neighbours neighbours : {Neighbours::Faces, Neighbours::All}) {
      std::size_t pieces = 0;
      std::uint64_t sum = 0;
      EXPECT_TRUE(hxvoxora::findComponents(content, neighbours, [&](const Component& component) {
        ++pieces;
        sum += component.voxelCount;
      }));
      EXPECT_EQ(pieces, neighbours == Neighbours::Faces ? expected[index].byFaces : expected[index].byAll) << label;
      EXPECT_EQ(sum, voxels[label]) << label;
    }
    ++index;
  }
  EXPECT_EQ(index, expected.size());
}

TEST(AtlasComponents, Aal) {
  expectPieces(*readAtlas("aal.nii.gz", ""), atlas_pieces::aal);
}

TEST(AtlasComponents, NatBrainLab) {
  expectPieces(*readAtlas("natbrainlab.nii.gz", ""), atlas_pieces::natbrainlab);
}

TEST(AtlasComponents, HarvardOxfordCortex) {
  expectPieces(*readAtlas("HarvardOxford-cort-maxprob-thr0-1mm.nii.gz", ""), atlas_pieces::harvardOxfordCortex);
}

}  // namespace
