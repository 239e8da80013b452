#include <cstdint>
#include <gmock/gmock.h>
#include <span>
#include <vector>

#include "quarn/formats/readNifti.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "tests/formats/atlasCounts.h"
#include "tests/formats/testFiles.h"

namespace {

using quarn::formats::readNifti;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;

McHandle<HxUniformLabelField3> readAtlas(const char* image, const char* names, const char* values = "") {
  HxLoadOptions options;
  if (*names) options.labels = atlasFile(QLatin1String(names));
  if (*values) options.values = HxLoadOptions::parseRanges(QLatin1String(values));
  const McHandle<HxUniformScalarField3> field = readNifti(atlasFile(QLatin1String(image)), options);
  auto* const labels = dynamic_cast<HxUniformLabelField3*>(field.get());
  EXPECT_NE(labels, nullptr) << image << " says that it holds labels";
  return labels;
}

/// Voxels of each label up to the largest.
std::vector<std::int64_t> countLabels(const HxUniformLabelField3& field) {
  std::vector<std::int64_t> counts(256);
  for (const std::uint8_t label :
       std::span(field.lattice().getLabels(0), static_cast<std::size_t>(field.voxelCount()))) {
    ++counts[label];
  }
  while (!counts.empty() && counts.back() == 0) counts.pop_back();
  return counts;
}

std::string materialName(HxUniformLabelField3& field, int index) {
  return field.materials(true)->getBundle(index)->name();
}

TEST(Atlas, AalHasItsLabelsAndNames) {
  const auto field = readAtlas("aal.nii.gz", "aal.nii.txt");
  EXPECT_EQ(field->latticeDimensions(), McDim3l(181, 217, 181));
  EXPECT_THAT(countLabels(*field), ElementsAreArray(atlas_counts::aal));
  ASSERT_EQ(field->materials(true)->size(), 117);
  EXPECT_EQ(materialName(*field, 0), "Exterior");
  EXPECT_EQ(materialName(*field, 1), "Precentral_L");
  EXPECT_EQ(materialName(*field, 38), "Hippocampus_R");
  EXPECT_EQ(materialName(*field, 116), "Vermis_10");
}

TEST(Atlas, AalCanBeReadInPart) {
  const auto field = readAtlas("aal.nii.gz", "aal.nii.txt", "1-90");
  const std::vector<std::int64_t> counts = countLabels(*field);
  ASSERT_EQ(counts.size(), 91U);
  EXPECT_THAT(std::span(counts).subspan(1), ElementsAreArray(std::span(atlas_counts::aal).subspan(1, 90)));
  EXPECT_EQ(field->materials(true)->size(), 91);
}

TEST(Atlas, BrodmannKeepsItsGaps) {
  const auto field = readAtlas("brodmann.nii.gz", "");
  EXPECT_THAT(countLabels(*field), ElementsAreArray(atlas_counts::brodmann));
  EXPECT_EQ(field->materials(true)->size(), 0);
}

TEST(Atlas, WhiteMatterHasItsLabelsAndNames) {
  const auto field = readAtlas("JHU-WhiteMatter-labels-1mm.nii.gz", "JHU-WhiteMatter-labels-1mm.nii.txt");
  EXPECT_EQ(field->latticeDimensions(), McDim3l(182, 218, 182));
  EXPECT_THAT(countLabels(*field), ElementsAreArray(atlas_counts::jhuWhiteMatter));
  ASSERT_EQ(field->materials(true)->size(), 49);
  EXPECT_EQ(materialName(*field, 0), "Exterior");
  EXPECT_EQ(materialName(*field, 6), "Fornix__column_and_body_of_fornix_");
}

TEST(Atlas, NeuroMapsHasTooManyLabels) {
  const QString file = atlasFile(QStringLiteral("inia19-NeuroMaps.nii.gz"));
  EXPECT_THAT(refusal([&] { readNifti(file, {}); }), HasSubstr("has 724 labels, the largest is 1605;"));
}

TEST(Atlas, NeuroMapsCanBeReadInPart) {
  HxRecordingSink messages;
  const auto field = readAtlas("inia19-NeuroMaps.nii.gz", "", "1200-1300");
  const std::vector<std::int64_t> counts = countLabels(*field);
  ASSERT_EQ(counts.size(), 1 + std::size(atlas_counts::neuroMaps1200to1300));
  std::size_t index = 0;
  for (const auto& [value, count] : atlas_counts::neuroMaps1200to1300) {
    std::int64_t id = -1;
    ++index;
    EXPECT_EQ(counts[index], count) << value;
    EXPECT_TRUE(field->materials(true)->getBundle(static_cast<int>(index))->findNum("Id", id));
    EXPECT_EQ(id, value);
  }
  EXPECT_EQ(messages.consoleEntries.size(), 1U);
}

TEST(Atlas, FlippedAtlasKeepsItsDirection) {
  // nibabel: affine diagonal (-1, 1, 1), origin (90, -126, -72)
  const auto field = readAtlas("HarvardOxford-cort-maxprob-thr0-1mm.nii.gz", "");
  EXPECT_THAT(field->geometry().direction, ElementsAre(1, 0, 0, 0, -1, 0, 0, 0, 1));
  EXPECT_THAT(field->voxelToWorld(0, 0, 0), ElementsAre(-90, 126, -72));
}

}  // namespace
