#ifdef QUARN_WITH_FORMATS

#include <algorithm>
#include <array>
#include <cstdint>

#include "hxroi/HxRoiSelector.h"
#include "hxroi/HxRoisToHxUniformLabelField3.h"
#include "hxroi/HxUniformLabelField3ToHxRois.h"
#include "quarn/formats/registerFormats.h"
#include "tests/roitools/exchange/ExchangeTest.h"

namespace {

/// Real atlases as sets and back.
class VisibleAtlas : public ExchangeTest, public ::testing::WithParamInterface<const char*> {
protected:
  VisibleAtlas() { quarn::formats::registerFormats(); }

  static HxUniformLabelField3* load(const char* image) {
    const QString file = QString("/usr/share/mricron/templates/") + image;
    EXPECT_TRUE(QFile::exists(file)) << image << " is missing: install the package mricron-data";
    HxLoadOptions options;
    options.kind = "label";
    options.values = {{1, 90}};
    return dynamic_cast<HxUniformLabelField3*>(
        HxObjectPool::instance().find(HxFileTypes::instance().load(file, options).value(0)));
  }

  template <class Module>
  static HxData* run(Module& module) {
    module.portDoIt.hit(0);
    module.fire();
    return module.resultObject(0);
  }

  /// The label that each label gets when those that do not occur are left out.
  static std::array<std::uint8_t, 256> ranksOf(const HxUniformLabelField3& field) {
    std::array<std::uint8_t, 256> ranks{};
    const std::uint8_t* const labels = field.lattice().getLabels();
    for (std::int64_t i = 0; i < field.voxelCount(); ++i) ranks[labels[i]] = 1;
    ranks[0] = 0;
    std::uint8_t last = 0;
    for (std::uint8_t& rank : ranks)
      if (rank) rank = ++last;
    return ranks;
  }
};

TEST_P(VisibleAtlas, ComesBackVoxelByVoxel) {
  HxUniformLabelField3* const field = load(GetParam());
  ASSERT_TRUE(field);
  const McHandle<HxUniformLabelField3ToHxRois> convert(new HxUniformLabelField3ToHxRois);
  ASSERT_TRUE(convert->dataConnection.connect(field));
  const McHandle<HxRoiSelector> selector(new HxRoiSelector);
  ASSERT_TRUE(selector->portData.connect(run(*convert)));
  selector->fire();
  const McHandle<HxRoisToHxUniformLabelField3> join(new HxRoisToHxUniformLabelField3);
  ASSERT_TRUE(join->portMaskSelector.connect(selector));
  const auto* back = dynamic_cast<HxUniformLabelField3*>(run(*join));
  ASSERT_TRUE(back);
  ASSERT_EQ(back->latticeDimensions(), field->latticeDimensions());
  EXPECT_EQ(back->geometry(), field->geometry());
  const auto ranks = ranksOf(*field);
  EXPECT_GT(*std::ranges::max_element(ranks), 10);
  std::int64_t wrong = 0;
  for (std::int64_t i = 0; i < field->voxelCount(); ++i)
    wrong += back->lattice().getLabels()[i] != ranks[field->lattice().getLabels()[i]];
  EXPECT_EQ(wrong, 0);
}

INSTANTIATE_TEST_SUITE_P(Real, VisibleAtlas, ::testing::Values("aal.nii.gz", "brodmann.nii.gz", "natbrainlab.nii.gz"),
                         [](const auto& image) { return QString(image.param).section('.', 0, 0).toStdString(); });

}  // namespace

#endif
