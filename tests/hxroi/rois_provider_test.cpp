#include <algorithm>

#include "RoisTest.h"
#include "hxroi/HxRoisProviderFromHxUniformLabelField3.h"
#include "hxroi/HxRoisProviderFromHxUniformLabelField3Factory.h"
#include "quarn/base/mcinterface_cast.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/network/HxNetwork.h"
#include "quarn/kernel/objects/HxInterfaceFactoryRegistry.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/objects/hxconnection_cast.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "tests/support/RecordingProgress.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

class RoisProvider : public RoisTest {
protected:
  ~RoisProvider() override { HxObjectPool::instance().clear(); }

  static McHandle<HxUniformLabelField3> boneAndMuscle() {
    auto field = makeLabels({3, 1, 1}, {2, 1, 2});
    for (const char* name : {"Exterior", "Bone", "Muscle"}) field->materials(true)->getBundle(name);
    return field;
  }

  static HxRoisProviderInterface* attach(HxUniformLabelField3* field) {
    HxRoisProviderFromHxUniformLabelField3Factory().attachInterfaces(field);
    return mcinterface_cast<HxRoisProviderInterface>(field);
  }

  static std::vector<std::string> namesIn(const HxRois& set) {
    std::vector<std::string> names;
    for (const auto& roi : set) names.push_back(roi->name());
    return names;
  }

  static std::ptrdiff_t conversions(const RecordingProgress& progress) {
    return std::count(progress.calls.begin(), progress.calls.end(), "done");
  }
};

/// A ROI set of one's own making.
class FixedProvider : public HxRoisProviderInterface {
public:
  FixedProvider(McInterfaceOwner* owner, HxRois* rois) : HxRoisProviderInterface(owner), rois_(rois) {}
  HxRois* getHxRois() override { return rois_; }

private:
  McHandle<HxRois> rois_;
};

TEST_F(RoisProvider, TypesFollowTheirParents) {
  const McType type = HxRoisProviderFromHxUniformLabelField3::getClassTypeId();
  EXPECT_EQ(type.getName(), "HxRoisProviderFromHxUniformLabelField3");
  EXPECT_TRUE(type.isDerivedFrom(HxRoisProviderInterface::getClassTypeId()));
  EXPECT_TRUE(type.isDerivedFrom(McInterface::getClassTypeId()));
  EXPECT_FALSE(HxRoisProviderInterface::getClassTypeId().canCreateInstance());
  const McType factory = McType::find("HxRoisProviderFromHxUniformLabelField3Factory");
  EXPECT_TRUE(factory.isDerivedFrom(HxInterfaceFactory::getClassTypeId()));
  EXPECT_TRUE(factory.canCreateInstance());
}

TEST_F(RoisProvider, IsAttachedOnce) {
  const auto field = boneAndMuscle();
  HxRoisProviderInterface* provider = attach(field);
  ASSERT_NE(provider, nullptr);
  EXPECT_EQ(provider->getTypeId(), HxRoisProviderFromHxUniformLabelField3::getClassTypeId());
  EXPECT_EQ(provider->owner(), field.get());
  EXPECT_TRUE(provider->isOwned());
  EXPECT_EQ(attach(field), provider);
  EXPECT_EQ(field->interfaces().size(), 1U);
}

TEST_F(RoisProvider, AnotherProviderIsLeftAlone) {
  const auto field = boneAndMuscle();
  auto* own = new FixedProvider(field, rois);
  EXPECT_EQ(attach(field), own);
  EXPECT_EQ(field->interfaces().size(), 1U);
}

TEST_F(RoisProvider, ComesWithEveryLabelField) {
  HxInterfaceFactoryRegistry& registry = HxInterfaceFactoryRegistry::instance();
  const McHandle<HxUniformLabelField3> earlier = boneAndMuscle();
  HxObjectPool::instance().add(earlier, "earlier");
  EXPECT_EQ(mcinterface_cast<HxRoisProviderInterface>(earlier), nullptr);
  registry.declare("HxUniformLabelField3", "HxRoisProviderFromHxUniformLabelField3Factory");
  const McHandle<HxObject> made = HxObject::create("HxUniformLabelField3");
  const McHandle<HxUniformLabelField3> added = boneAndMuscle();
  HxObjectPool::instance().add(added, "added");
  const McHandle<HxUniformScalarField3> image(new HxUniformScalarField3(McDim3l(3, 1, 1), McPrimType::Uint8));
  HxObjectPool::instance().add(image, "image");
  registry.withdraw("HxUniformLabelField3", "HxRoisProviderFromHxUniformLabelField3Factory");

  EXPECT_NE(mcinterface_cast<HxRoisProviderInterface>(earlier), nullptr);
  EXPECT_NE(mcinterface_cast<HxRoisProviderInterface>(made), nullptr);
  EXPECT_NE(mcinterface_cast<HxRoisProviderInterface>(added), nullptr);
  EXPECT_EQ(mcinterface_cast<HxRoisProviderInterface>(image), nullptr);
}

TEST_F(RoisProvider, ConvertsOnce) {
  RecordingProgress progress;
  const ProgressScope scope(progress);
  const auto field = boneAndMuscle();
  HxRoisProviderInterface* provider = attach(field);
  EXPECT_EQ(conversions(progress), 0);
  HxRois* set = provider->getHxRois();
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(provider->getHxRois(), set);
  EXPECT_EQ(conversions(progress), 1);
}

TEST_F(RoisProvider, TheSetHasOneMaskPerLabel) {
  const auto field = boneAndMuscle();
  const HxRois* set = attach(field)->getHxRois();
  ASSERT_NE(set, nullptr);
  EXPECT_THAT(namesIn(*set), ElementsAre("Bone", "Muscle"));
  EXPECT_EQ(count(*set->getMask("Bone")), 1U);
  EXPECT_EQ(count(*set->getMask("Muscle")), 2U);
  EXPECT_EQ(set->portData.source(), field.get());
  EXPECT_FALSE(set->isInPool());
}

TEST_F(RoisProvider, LaterChangesOfTheFieldDoNotCount) {
  const auto field = boneAndMuscle();
  HxRoisProviderInterface* provider = attach(field);
  HxRois* set = provider->getHxRois();
  field->lattice().getLabels()[0] = 7;
  field->touch();
  field->fire();
  EXPECT_EQ(provider->getHxRois(), set);
  EXPECT_THAT(namesIn(*set), ElementsAre("Bone", "Muscle"));
}

TEST_F(RoisProvider, AnInterruptedConversionIsNotTriedAgain) {
  RecordingProgress progress;
  const ProgressScope scope(progress);
  const auto field = boneAndMuscle();
  HxRoisProviderInterface* provider = attach(field);
  progress.interruptAfter = 0;
  EXPECT_EQ(refusalOf([&] { provider->getHxRois(); }), "The conversion was interrupted.");
  const std::size_t calls = progress.calls.size();
  EXPECT_EQ(provider->getHxRois(), nullptr);
  EXPECT_EQ(progress.calls.size(), calls);
}

TEST_F(RoisProvider, WhatAFailedConversionHasMadeIsGiven) {
  std::vector<std::uint8_t> labels(103);
  for (std::size_t i = 0; i < labels.size(); ++i) labels[i] = static_cast<std::uint8_t>(i);
  const auto field = makeLabels({103, 1, 1}, labels);
  HxRoisProviderInterface* provider = attach(field);
  EXPECT_THAT(refusalOf([&] { provider->getHxRois(); }), HasSubstr("Labels left out: 101"));
  HxRois* set = provider->getHxRois();
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(set->getNumberOfMasks(), 100U);
  EXPECT_EQ(set->portData.source(), field.get());
}

TEST_F(RoisProvider, AFieldThatGoesAwayWhileItIsConvertedGivesNothing) {
  struct RemovingProgress : RecordingProgress {
    void setText(const std::string& text) override {
      RecordingProgress::setText(text);
      field.reset();
    }
    McHandle<HxUniformLabelField3> field;
  } progress;
  const ProgressScope scope(progress);
  progress.field = boneAndMuscle();
  HxRoisProviderInterface* const provider = attach(progress.field);
  EXPECT_EQ(provider->getHxRois(), nullptr);
  EXPECT_EQ(conversions(progress), 1);
}

TEST_F(RoisProvider, AskedAgainDuringItsConversionItGivesNothing) {
  struct AskingProgress : RecordingProgress {
    void setText(const std::string& text) override {
      RecordingProgress::setText(text);
      answers.push_back(provider->getHxRois());
    }
    HxRoisProviderInterface* provider = nullptr;
    std::vector<HxRois*> answers;
  } progress;
  const ProgressScope scope(progress);
  const auto field = boneAndMuscle();
  progress.provider = attach(field);
  EXPECT_NE(progress.provider->getHxRois(), nullptr);
  ASSERT_FALSE(progress.answers.empty());
  EXPECT_THAT(progress.answers, ::testing::Each(nullptr));
}

TEST_F(RoisProvider, TheSetGoesWithTheField) {
  std::string prefix;
  {
    const auto field = boneAndMuscle();
    prefix = attach(field)->getHxRois()->getMask("Bone")->temporaryPrefix();
    EXPECT_TRUE(boost::filesystem::exists(prefix + ".ldm"));
  }
  EXPECT_FALSE(boost::filesystem::exists(prefix + ".ldm"));
}

TEST_F(RoisProvider, ASetThatIsHeldOutlivesTheField) {
  McHandle<HxRois> set;
  {
    const auto field = boneAndMuscle();
    set = attach(field)->getHxRois();
  }
  EXPECT_EQ(set->portData.source(), nullptr);
  EXPECT_EQ(set->baseConnection.source(), nullptr);
  EXPECT_EQ(count(*set->getMask("Muscle")), 2U);
  EXPECT_EQ(set->refCount(), 1);
}

TEST_F(RoisProvider, TakersOfRoisTakeTheField) {
  const auto field = boneAndMuscle();
  const McHandle<HxRois> taker(new HxRois);
  HxConnection connection(taker, "source", "Source", HxRois::getClassTypeId());
  connection.addAcceptedType(HxRoisProviderInterface::getClassTypeId());
  EXPECT_FALSE(connection.connect(field));
  HxRoisProviderInterface* provider = attach(field);
  ASSERT_TRUE(connection.connect(field));
  EXPECT_EQ(hxconnection_cast<HxRoisProviderInterface>(connection), provider);
  EXPECT_EQ(hxconnection_cast<HxRois>(connection), nullptr);
  connection.disconnect();
}

TEST_F(RoisProvider, ANetworkHoldsTheFieldAlone) {
  const auto field = makeLabels({0, 0, 0}, {});
  HxObjectPool::instance().add(field, "brain");
  field->setModified(0);
  attach(field)->getHxRois();
  const QString file = QString::fromStdString((folder / "a.quarn").string());
  EXPECT_TRUE(HxNetwork::save(file).isEmpty());
  HxObjectPool::instance().clear();
  EXPECT_THAT(HxNetwork::load(file), ElementsAre("brain"));
}

/// A set that somebody puts into the pool comes back from its file; without one it cannot, as its converter does not.
TEST_F(RoisProvider, ANetworkHoldsASetThatWasSaved) {
  HxFileTypes::instance().registerQuarnMeshReader("HxRois", ".ROIs.qm", &HxRois::readQuarnMesh_s);
  const auto field = boneAndMuscle();
  const McHandle<HxRois> set = attach(field)->getHxRois();
  HxObjectPool::instance().add(set, "regions");
  const QString file = QString::fromStdString((folder / "a.quarn").string());
  EXPECT_THAT(HxNetwork::save(file, true), ElementsAre("regions: is not saved in a file"));

  ASSERT_EQ(set->writeQuarnMesh((folder / "regions.ROIs.qm").string().c_str()), 1);
  EXPECT_TRUE(HxNetwork::save(file).isEmpty());
  HxObjectPool::instance().clear();
  EXPECT_THAT(HxNetwork::load(file), ElementsAre("regions"));
  const auto* loaded = dynamic_cast<HxRois*>(HxObjectPool::instance().find("regions"));
  ASSERT_NE(loaded, nullptr);
  EXPECT_THAT(namesIn(*loaded), ElementsAre("Bone", "Muscle"));
  HxObjectPool::instance().clear();
  HxFileTypes::instance().unregisterQuarnMeshReader("HxRois");
}

}  // namespace
