#ifdef QUARN_WITH_FORMATS

#include "hxroi/HxUniformLabelField3ToHxRois.h"
#include "quarn/formats/registerFormats.h"
#include "quarn/kernel/io/NrrdHeader.h"
#include "roitools/HxRoisToLabels.h"
#include "tests/roitools/exchange/ExchangeTest.h"

namespace {

using ::testing::HasSubstr;

/// Two atlases of one brain, which overlap nearly everywhere, in one set.
class AtlasExchange : public ExchangeTest {
protected:
  AtlasExchange() {
    HxUniformLabelField3ToHxRois::initClass();
    HxRoisToLabels::initClass();
    quarn::formats::registerFormats();
    HxLoadOptions options;
    options.values = {{1, 59}};
    rois_ = convert(load("aal.nii.gz", "aal.nii.txt", options));
    const McHandle<HxRois> brodmann = convert(load("brodmann.nii.gz", "", {}));
    rois_->copyAllMasksFrom(brodmann);
    EXPECT_EQ(rois_->getNumberOfMasks(), 100U);
  }

  static HxUniformLabelField3* load(const char* image, const char* names, HxLoadOptions options) {
    const QString folder = "/usr/share/mricron/templates/";
    EXPECT_TRUE(QFile::exists(folder + image)) << image << " is missing: install the package mricron-data";
    if (*names) options.labels = folder + names;
    options.kind = "label";
    const QStringList loaded = HxFileTypes::instance().load(folder + image, options);
    return dynamic_cast<HxUniformLabelField3*>(HxObjectPool::instance().find(loaded.value(0)));
  }

  static McHandle<HxRois> convert(HxUniformLabelField3* field) {
    const McHandle<HxUniformLabelField3ToHxRois> module(new HxUniformLabelField3ToHxRois);
    EXPECT_TRUE(module->dataConnection.connect(field));
    module->portDoIt.hit(0);
    module->fire();
    const McHandle<HxRois> rois(dynamic_cast<HxRois*>(module->resultObject(0)));
    EXPECT_TRUE(rois->portData.connect(field));
    return rois;
  }

  McHandle<HxRois> rois_;
};

TEST_F(AtlasExchange, SegmentationComesBackVoxelByVoxel) {
  HxFileTypes::instance().save(rois_, QString(), path("brain.seg.nrrd"));
  const auto header = quarn::NrrdHeader::read(path("brain.seg.nrrd"));
  EXPECT_EQ(header.sizes, (std::vector<std::int64_t>{2, 181, 217, 181}));
  const HxRois* const back = loadSet(path("brain.seg.nrrd"));
  ASSERT_TRUE(back);
  expectEqual(*back, *rois_);
  EXPECT_EQ(back->portData.source(), rois_->portData.source()) << "the atlas lies where the segmentation does";
}

TEST_F(AtlasExchange, ImagesOfMasksComeBack) {
  const McHandle<HxRois> few(new HxRois);
  for (const char* name : {"Precentral_R", "Undescribed-label-6"}) few->addRoi(rois_->removeRoi(name));
  auto* const group = new Group("Frontal", McColor(0.5F, 0, 0), nullptr);
  few->addRoi(group);
  group->addMask(McHandle<Mask>(dynamic_cast<Mask*>(rois_->removeRoi("Frontal_Mid_L").get())));
  few->addRoi(makeMask("nothing", few->dimensions(), McColor(1, 1, 0)));
  ASSERT_TRUE(few->portData.connect(rois_->portData.source()));
  for (const auto& [format, suffix] : {std::pair("NIfTI masks", ".nii.gz"), {"NRRD masks", ".nrrd"}}) {
    const QString name = QString(suffix).remove('.');
    HxFileTypes::instance().save(few, format, path(name) + "/");
    EXPECT_TRUE(QFile::exists(path(name + "/Precentral_R" + suffix)));
    const HxRois* const back = loadSet(path(name + "/" + name + ".masks.csv"));
    ASSERT_TRUE(back);
    expectEqual(*back, *few);
    EXPECT_EQ(back->portData.source(), few->portData.source()) << "the images lie where the atlas does";
  }
}

TEST_F(AtlasExchange, LabelsNameEveryPairThatOverlaps) {
  const McHandle<HxRoisToLabels> module(new HxRoisToLabels);
  ASSERT_TRUE(module->dataConnection.connect(rois_));
  module->portDoIt.hit(0);
  const std::string text = refusal([&] { module->fire(); });
  EXPECT_THAT(text, HasSubstr("Precentral_L and Undescribed-label-6 share "));
  EXPECT_THAT(text, HasSubstr(" more pairs"));
}

}  // namespace

#endif
