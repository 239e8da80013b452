#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <stdexcept>

#include "SelectorTest.h"
#include "hxroi/HxRoiToHxVolumeDataRegistry.h"
#include "hxroi/HxSetOfVolumeMaskFromHxRoiSelector.h"
#include "hxroi/detail/SetPlace.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/fields/HxISetOfVolumeData.h"
#include "quarn/kernel/objects/HxInterfaceFactoryRegistry.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Interface = HxISetOfVolumeMask;
using Registry = HxRoiToHxVolumeDataRegistry;

namespace {

class VolumeMaskInterface : public SelectorTest {
protected:
  McHandle<HxVolumeData> volumeOf(const char* name) {
    return Registry::getBimapMaskVolumeData(rois).left.at(rois->getMask(name));
  }

  std::vector<std::string> namesIn(const Interface::VolumeList& volumes) const {
    std::vector<std::string> names;
    for (const auto& volume : volumes) names.push_back(renderer->getVolumeMaskName(volume).toStdString());
    return names;
  }

  /// Every answer of the interface to a question about `volume`.
  std::vector<std::function<void()>> questionsAbout(const HxVolumeData* volume) const {
    return {[=, this] { renderer->getVolumeMaskName(volume); }, [=, this] { renderer->getVolumeMaskColormap(volume); },
            [=, this] { renderer->getVolumeMaskColormapRange(volume); },
            [=, this] { renderer->getVolumeMaskColor(volume); },
            [=, this] { renderer->getVolumeMaskColormapAlphaEnabled(volume); }};
  }

  static void expectInvalidKey(const std::function<void()>& question) {
    try {
      question();
      ADD_FAILURE() << "it was found";
    } catch (const std::out_of_range& failure) {
      EXPECT_STREQ(failure.what(), "bimap<>: invalid key");
    }
  }

  void expectNoAnswers(const Interface& interface) {
    const McHandle<HxVolumeData> volume(new HxVolumeData(nullptr, "stranger"));
    EXPECT_EQ(interface.getReferenceVolumeData(), nullptr);
    EXPECT_THAT(interface.getVisibleVolumeMask(), IsEmpty());
    EXPECT_EQ(interface.getUniqueIdentifier(), nullptr);
    EXPECT_EQ(interface.getOverlappingDrawStyle(), std::nullopt);
    EXPECT_EQ(interface.getOverlappingColormap(), nullptr);
    EXPECT_EQ(interface.getOverlappingColor(), std::nullopt);
    EXPECT_EQ(interface.getOverlappingColormapRange(), std::nullopt);
    EXPECT_TRUE(interface.getOverlappingColormapAlphaEnabled());
    EXPECT_THAT(interface.getVolumeMask(), IsEmpty());
    EXPECT_EQ(interface.getVolumeMaskName(volume), QString());
    EXPECT_EQ(interface.getVolumeMaskColormap(volume), nullptr);
    EXPECT_EQ(interface.getVolumeMaskColormapRange(volume), std::nullopt);
    EXPECT_EQ(interface.getVolumeMaskColor(volume), McColor());
    EXPECT_TRUE(interface.getVolumeMaskColormapAlphaEnabled(volume));
  }
};

/// Has the factory declared while it lives.
class FactoryScope {
public:
  FactoryScope() { HxInterfaceFactoryRegistry::instance().declare(kClass, kFactory); }
  ~FactoryScope() { HxInterfaceFactoryRegistry::instance().withdraw(kClass, kFactory); }

private:
  static constexpr const char* kClass = "HxRoiSelector";
  static constexpr const char* kFactory = "HxSetOfVolumeMaskFromHxRoiSelectorFactory";
};

/// The place of a virtual function in the table of its class.
template <class Function>
std::size_t slotOf(Function function) {
  std::uintptr_t word = 0;
  std::memcpy(&word, &function, sizeof word);
  return (word - 1) / sizeof(void*);
}

// --- The interface ------------------------------------------------------------------------------------------------

TEST_F(VolumeMaskInterface, KeepsTheOrderOfItsQuestions) {
  const std::vector<std::size_t> slots{slotOf(&Interface::getTypeId),
                                       slotOf(&Interface::doGetReferenceVolumeData),
                                       slotOf(&Interface::doGetVisibleVolumeMask),
                                       slotOf(&Interface::doGetUniqueIdentifier),
                                       slotOf(&Interface::doGetOverlappingDrawStyle),
                                       slotOf(&Interface::doGetOverlappingColormap),
                                       slotOf(&Interface::doGetOverlappingColor),
                                       slotOf(&Interface::doGetOverlappingColormapRange),
                                       slotOf(&Interface::doGetOverlappingColormapAlphaEnabled),
                                       slotOf(&Interface::doGetVolumeMask),
                                       slotOf(&Interface::doGetVolumeMaskName),
                                       slotOf(&Interface::doGetVolumeMaskColormap),
                                       slotOf(&Interface::doGetVolumeMaskColormapRange),
                                       slotOf(&Interface::doGetVolumeMaskColor),
                                       slotOf(&Interface::doGetVolumeMaskColormapAlphaEnabled)};
  // The destructor takes two places behind the first question.
  EXPECT_THAT(slots, ElementsAre(0, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16));
}

TEST_F(VolumeMaskInterface, IsAttachedOnce) {
  ASSERT_NE(renderer, nullptr);
  EXPECT_EQ(renderer->getTypeId(), HxSetOfVolumeMaskFromHxRoiSelector::getClassTypeId());
  EXPECT_TRUE(renderer->getTypeId().isDerivedFrom(Interface::getClassTypeId()));
  EXPECT_FALSE(renderer->getTypeId().canCreateInstance());
  EXPECT_EQ(attachTo(*selector), renderer);
  EXPECT_EQ(selector->interfaces().size(), 1U);
  EXPECT_EQ(renderer->owner(), selector.get());
  EXPECT_TRUE(renderer->isOwned());
}

TEST_F(VolumeMaskInterface, ComesWithEverySelector) {
  const FactoryScope scope;
  const McHandle<HxObject> made = HxObject::create("HxRoiSelector");
  EXPECT_NE(mcinterface_cast<Interface>(made), nullptr);
}

TEST_F(VolumeMaskInterface, WithoutSetThereIsNoAnswer) {
  expectNoAnswers(*renderer);
  showSet();
  rois.reset();
  expectNoAnswers(*renderer);
}

TEST_F(VolumeMaskInterface, WithoutSelectorThereIsNoAnswer) {
  const McHandle<HxColormap> other(new HxColormap);
  expectNoAnswers(*new HxSetOfVolumeMaskFromHxRoiSelector(other));
}

// --- Which masks --------------------------------------------------------------------------------------------------

TEST_F(VolumeMaskInterface, RefersToTheImageOfTheSet) {
  showSet();
  EXPECT_EQ(renderer->getReferenceVolumeData(), nullptr);
  const McHandle<HxUniformScalarField3> image(new HxUniformScalarField3(McDim3l(13, 11, 7), McPrimType::Uint8));
  image->setGeometry({{1, 2, 3}, {0.5, 0.5, 2}, {0, 1, 0, 1, 0, 0, 0, 0, 1}});
  HxObjectPool::instance().add(image, "image");
  ASSERT_TRUE(rois->portData.connect(image));
  const HxISetOfVolumeData* const reference = renderer->getReferenceVolumeData();
  ASSERT_NE(reference, nullptr);
  EXPECT_EQ(reference->owner(), image.get());
  EXPECT_EQ(reference->getDimensions(), McDim3l(13, 11, 7));
  EXPECT_EQ(reference->getGeometry(), image->geometry());
}

TEST_F(VolumeMaskInterface, KnowsThePlaceThatTheSetRemembers) {
  const auto* placed = dynamic_cast<const HxPlaced*>(renderer);
  ASSERT_NE(placed, nullptr);
  EXPECT_EQ(placed->place(), std::nullopt);
  showSet();
  EXPECT_EQ(placed->place(), std::nullopt);
  const HxGeometry3 remembered{{-12.5, 1, 2}, {0.5, 2, 3}, {0, -1, 0, 1, 0, 0, 0, 0, 1}};
  hxroi::storePlace(remembered, McDim3l(13, 11, 7), rois->parameters);
  EXPECT_EQ(placed->place(), remembered);
  EXPECT_EQ(renderer->getReferenceVolumeData(), nullptr);
}

TEST_F(VolumeMaskInterface, ASourceWithoutVolumeIsNoReference) {
  showSet();
  const McHandle<HxUniformScalarField3> image(new HxUniformScalarField3(McDim3l(13, 11, 7), McPrimType::Uint8));
  ASSERT_EQ(mcinterface_cast<HxISetOfVolumeData>(image), nullptr);
  ASSERT_TRUE(rois->portData.connect(image));
  EXPECT_EQ(renderer->getReferenceVolumeData(), nullptr);
}

TEST_F(VolumeMaskInterface, HiddenMasksAreNotDrawnButThere) {
  showSet();
  setVisible("B", false);
  EXPECT_THAT(namesIn(renderer->getVisibleVolumeMask()), ElementsAre("A", "C", "D"));
  std::vector<std::string> inOrderOfTheRegistry;
  for (const auto& entry : Registry::getBimapMaskVolumeData(rois).left)
    inOrderOfTheRegistry.push_back(entry.first->name());
  EXPECT_EQ(inOrderOfTheRegistry.size(), 4U);
  EXPECT_EQ(namesIn(renderer->getVolumeMask()), inOrderOfTheRegistry);
  EXPECT_EQ(renderer->getVisibleVolumeMask()[0]->getVolumeNode(), rois->getMask("A")->volumeMask());
}

TEST_F(VolumeMaskInterface, MasksAreFlushedBeforeTheyAreListed) {
  showSet();
  fill(*rois->getMask("A"), {0, 0, 0}, {3, 3, 3});
  ASSERT_TRUE(rois->getMask("A")->volumeMask()->hasUnsavedEdits());
  renderer->getVisibleVolumeMask();
  EXPECT_TRUE(rois->getMask("A")->volumeMask()->hasUnsavedEdits());
  renderer->getVolumeMask();
  EXPECT_FALSE(rois->getMask("A")->volumeMask()->hasUnsavedEdits());
}

TEST_F(VolumeMaskInterface, SelectorsOfOneSetHaveOneIdentifier) {
  showSet();
  const McHandle<HxRoiSelector> second(new HxRoiSelector), third(new HxRoiSelector);
  const McHandle<HxRois> other(new HxRois);
  ASSERT_TRUE(second->portData.connect(rois) && third->portData.connect(other));
  EXPECT_EQ(renderer->getUniqueIdentifier(), rois.get());
  EXPECT_EQ(attachTo(*second)->getUniqueIdentifier(), renderer->getUniqueIdentifier());
  EXPECT_NE(attachTo(*third)->getUniqueIdentifier(), renderer->getUniqueIdentifier());
}

TEST_F(VolumeMaskInterface, AMaskThatLeftIsNotFound) {
  showSet();
  const McHandle<HxVolumeData> volume = renderer->getVisibleVolumeMask()[3];
  rois->removeRoi("D");
  EXPECT_EQ(volume->getVolumeNode(), nullptr);
  expectInvalidKey([&] { renderer->getVisibleVolumeMask(); });
  for (const auto& question : questionsAbout(volume)) expectInvalidKey(question);
  EXPECT_EQ(renderer->getVolumeMask().size(), 3U);
  rois->fire();
  EXPECT_THAT(namesIn(renderer->getVisibleVolumeMask()), ElementsAre("A", "B", "C"));
}

TEST_F(VolumeMaskInterface, StrangersAreNotFound) {
  showSet();
  const McHandle<HxVolumeData> stranger(new HxVolumeData(nullptr, "stranger"));
  auto* const nobodys = new HxVolumeData(nullptr, "nobody's");
  for (const HxVolumeData* volume : {stranger.get(), nobodys, static_cast<HxVolumeData*>(nullptr)})
    for (const auto& question : questionsAbout(volume)) expectInvalidKey(question);
  EXPECT_EQ(McHandle<HxVolumeData>(nobodys)->getLabel(), "nobody's") << "looking for it does not delete it";
}

TEST_F(VolumeMaskInterface, ListsMasksWhoseFilesHaveGone) {
  const path user = folder / "user";
  const auto mask = makeMask("A");
  fill(*mask, {0, 0, 0}, {3, 3, 3});
  mask->writeToFile(user);
  rois->addRoi(Mask::loadFromFile("A", user));
  rois->fire();
  show(rois);
  for (const char* suffix : {".ldm", ".dat", ".fcp"}) boost::filesystem::remove(user.string() + suffix);
  EXPECT_THAT(namesIn(renderer->getVolumeMask()), ElementsAre("A"));
  EXPECT_THAT(namesIn(renderer->getVisibleVolumeMask()), ElementsAre("A"));
}

TEST_F(VolumeMaskInterface, ListsAHundredMasks) {
  for (int i = 0; i < 100; ++i) addMask("M" + std::to_string(i));
  show(rois);
  const auto volumes = renderer->getVisibleVolumeMask();
  ASSERT_EQ(volumes.size(), 100U);
  for (int i = 0; i < 100; ++i)
    ASSERT_EQ(renderer->getVolumeMaskName(volumes[static_cast<std::size_t>(i)]), "M" + QString::number(i));
  EXPECT_EQ(renderer->getVolumeMask().size(), 100U);
}

// --- How they look ------------------------------------------------------------------------------------------------

TEST_F(VolumeMaskInterface, TellsHowAMaskLooks) {
  showSet();
  const McHandle<HxColormap> colormap(new HxColormap);
  Mask& mask = *rois->getMask("A");
  mask.setColor(McColor(0, 0.5F, 1));
  mask.setColormapRange({-1.5F, 7.25F});
  mask.setAlphaEnabled(false);
  const auto volume = volumeOf("A");
  EXPECT_EQ(renderer->getVolumeMaskName(volume), "A");
  EXPECT_EQ(renderer->getVolumeMaskColor(volume), McColor(0, 0.5F, 1));
  EXPECT_EQ(renderer->getVolumeMaskColormap(volume), nullptr);
  EXPECT_EQ(renderer->getVolumeMaskColormapRange(volume), std::nullopt) << "there is no colormap";
  EXPECT_TRUE(renderer->getVolumeMaskColormapAlphaEnabled(volume)) << "there is no colormap";

  mask.setColormap(colormap);
  EXPECT_EQ(renderer->getVolumeMaskColormap(volume), colormap.get());
  EXPECT_EQ(renderer->getVolumeMaskColormapRange(volume), Interface::Range(-1.5, 7.25));
  EXPECT_FALSE(renderer->getVolumeMaskColormapAlphaEnabled(volume));
  mask.setAlphaEnabled(true);
  EXPECT_TRUE(renderer->getVolumeMaskColormapAlphaEnabled(volume));
}

TEST_F(VolumeMaskInterface, MembersLookAsTheirGroupDoes) {
  showSet();
  const McHandle<HxColormap> colormap(new HxColormap);
  Group& group = *rois->getGroup("G");
  group.setColor(McColor(1, 0.5F, 0));
  group.setColormap(colormap);
  group.setColormapRange({3, 4});
  rois->getMask("B")->setColor(McColor(0, 0, 1));
  rois->getMask("B")->setAlphaEnabled(false);
  const auto volume = volumeOf("B");
  EXPECT_EQ(renderer->getVolumeMaskColor(volume), McColor(1, 0.5F, 0));
  EXPECT_EQ(renderer->getVolumeMaskColormap(volume), colormap.get());
  EXPECT_EQ(renderer->getVolumeMaskColormapRange(volume), Interface::Range(3, 4));
  EXPECT_FALSE(renderer->getVolumeMaskColormapAlphaEnabled(volume)) << "its own";
  EXPECT_TRUE(renderer->getVolumeMaskColormapAlphaEnabled(volumeOf("C"))) << "its own";
}

TEST_F(VolumeMaskInterface, HandsOnWhatIsNoNumber) {
  showSet();
  const float none = std::numeric_limits<float>::quiet_NaN(), infinite = std::numeric_limits<float>::infinity();
  const McHandle<HxColormap> colormap(new HxColormap);
  rois->getMask("A")->setColormap(colormap);
  rois->getMask("A")->setColormapRange({none, infinite});
  rois->getMask("A")->setColor(McColor(none, -1, infinite));
  rois->portOverlappingVoltexColormap.setLocalRange(none, -infinite);
  const auto range = renderer->getVolumeMaskColormapRange(volumeOf("A"));
  ASSERT_TRUE(range);
  EXPECT_TRUE(std::isnan(range->first));
  EXPECT_TRUE(std::isinf(range->second));
  EXPECT_TRUE(std::isnan(renderer->getVolumeMaskColor(volumeOf("A")).r));
  EXPECT_TRUE(std::isnan(renderer->getOverlappingColormapRange()->first));
  rois->fire();
  EXPECT_THAT(visibleNames(), ElementsAre("A", "B", "C", "D"));
}

TEST_F(VolumeMaskInterface, AColormapThatHasGoneIsNone) {
  showSet();
  McHandle<HxColormap> colormap(new HxColormap);
  rois->getMask("A")->setColormap(colormap);
  colormap.reset();
  EXPECT_EQ(renderer->getVolumeMaskColormap(volumeOf("A")), nullptr);
  EXPECT_EQ(renderer->getVolumeMaskColormapRange(volumeOf("A")), std::nullopt);
  EXPECT_TRUE(renderer->getVolumeMaskColormapAlphaEnabled(volumeOf("A")));
}

// --- Shared voxels ------------------------------------------------------------------------------------------------

TEST_F(VolumeMaskInterface, TellsHowSharedVoxelsAreDrawn) {
  showSet();
  HxPortRadioBox& style = rois->portOverlappingRenderingStyle;
  EXPECT_EQ(renderer->getOverlappingDrawStyle(), Interface::DRAW_BOUNDARY);
  style.setValue(HxRois::kVolumeStyle);
  EXPECT_EQ(renderer->getOverlappingDrawStyle(), Interface::DRAW_VOLUME);
  for (const int other : {-1, 2, 77}) {
    style.setValue(other);
    EXPECT_EQ(renderer->getOverlappingDrawStyle(), std::nullopt) << other;
  }
  EXPECT_EQ(static_cast<int>(Interface::DRAW_BOUNDARY), 0);
  EXPECT_EQ(static_cast<int>(Interface::DRAW_VOLUME), 1);
}

TEST_F(VolumeMaskInterface, TellsColoursOfSharedVoxels) {
  showSet();
  const McHandle<HxColormap> colormap(new HxColormap);
  HxPortColormap& port = rois->portOverlappingVoltexColormap;
  EXPECT_EQ(renderer->getOverlappingColormap(), nullptr);
  EXPECT_EQ(renderer->getOverlappingColormapRange(), Interface::Range(0, 1));
  EXPECT_TRUE(renderer->getOverlappingColormapAlphaEnabled());
  rois->portOverlappingBoundaryColor.setColor(0, McColor(1, 0.5F, 0.25F));
  ASSERT_TRUE(port.connect(colormap));
  port.setLocalRange(-3, 12.5F);
  port.setAlphaEnabled(false);
  EXPECT_EQ(renderer->getOverlappingColor(), McColor(1, 0.5F, 0.25F));
  EXPECT_EQ(renderer->getOverlappingColormap(), colormap.get());
  EXPECT_EQ(renderer->getOverlappingColormapRange(), Interface::Range(-3, 12.5));
  EXPECT_FALSE(renderer->getOverlappingColormapAlphaEnabled());
}

TEST_F(VolumeMaskInterface, ThroughAProviderOverlapsHaveAlpha) {
  const auto field = boneAndMuscle();
  show(field);
  HxRois* const provided = selector->getHxRois();
  ASSERT_NE(provided, nullptr);
  provided->portOverlappingVoltexColormap.setAlphaEnabled(false);
  EXPECT_TRUE(renderer->getOverlappingColormapAlphaEnabled());
  EXPECT_THAT(namesIn(renderer->getVisibleVolumeMask()), ElementsAre("Bone", "Muscle"));
  EXPECT_EQ(renderer->getUniqueIdentifier(), provided);
  EXPECT_EQ(renderer->getOverlappingDrawStyle(), Interface::DRAW_BOUNDARY);
}

}  // namespace
