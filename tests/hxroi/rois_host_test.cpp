#include <cstdio>
#include <thread>

#include "RoisTest.h"
#include "hxroi/details/Roi.h"
#include "hxroi/details/TemporaryFolder.h"
#include "quarn/base/McBox3f.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/objects/HxEditor.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "quarn/voxora/files/FaultFileSystem.h"
#include "quarn/voxora/files/VolumeHeader.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

/// Keeps the flags of every touch.
class TouchedRois : public HxRois {
public:
  void touch(unsigned int flags) override {
    touches.push_back(flags);
    HxRois::touch(flags);
  }
  std::vector<unsigned int> touches;
};

class PlainEditor : public HxEditor {};

class RoisHost : public RoisTest {
protected:
  static McHandle<HxUniformScalarField3> makeField(const McDim3l& size) {
    return new HxUniformScalarField3(size, McPrimType::Uint8);
  }
};

TEST_F(RoisHost, InsertionAndRemovalTouchInOrder) {
  const McHandle<TouchedRois> touched(new TouchedRois);
  touched->addRoi(makeMask("A"));
  EXPECT_THAT(touched->touches, ElementsAre(8U, 128U, 2048U, 32U));
  touched->touches.clear();
  touched->removeRoi("A");
  EXPECT_THAT(touched->touches, ElementsAre(8U));
  touched->touches.clear();
  EXPECT_THROW(touched->removeRoi("A"), McException);
  EXPECT_THAT(touched->touches, IsEmpty());
}

TEST_F(RoisHost, ChangesOfARoiReachTheSet) {
  const McHandle<TouchedRois> touched(new TouchedRois);
  const auto mask = makeMask("A");
  touched->addRoi(mask);
  touched->touches.clear();
  mask->setName("B");
  mask->setColor(McColor(0, 1, 0));
  mask->setAlphaEnabled(false);
  mask->setColormapRange({0.25F, 0.5F});
  mask->setProperty("key", 1);
  EXPECT_THAT(touched->touches, ElementsAre(16U, 128U, 5U, 32U, 64U));
}

TEST_F(RoisHost, OnlyContentAdvancesTheTouchTime) {
  const auto before = rois->getTouchTime();
  for (const unsigned int flags : {1U, 4U, 5U, 16U, 32U, 64U, 128U, 2048U, 57344U}) {
    rois->touch(flags);
    EXPECT_EQ(rois->getTouchTime(), before) << flags;
    EXPECT_TRUE(rois->isNew(flags)) << flags;
  }
  rois->touch(8);
  EXPECT_NE(rois->getTouchTime(), before);
  const auto content = rois->getTouchTime();
  rois->touch(8 | 16);
  EXPECT_NE(rois->getTouchTime(), content);
}

TEST_F(RoisHost, ContentTouchedByWorkersIsNeverTakenBack) {
  const auto before = rois->getTouchTime();
  std::vector<std::thread> workers;
  for (int i = 0; i < 4; ++i) {
    workers.emplace_back([this, i] {
      for (int k = 0; k < 1000; ++k) rois->touch(i % 2 ? 16 : 8);
    });
  }
  for (std::thread& worker : workers) worker.join();
  EXPECT_NE(rois->getTouchTime(), before);
  EXPECT_TRUE(rois->isNew(8));
  EXPECT_TRUE(rois->isNew(16));
}

TEST_F(RoisHost, SomeChangesAreWorthSaving) {
  for (const unsigned int flags : {8U, 16U, 64U, 128U, 0xFFFFFFFFU}) {
    rois->setModified(0);
    rois->setModified(flags);
    EXPECT_TRUE(rois->isModified()) << flags;
  }
  for (const unsigned int flags : {5U, 32U, 2048U, 57344U}) {
    rois->setModified(8);
    rois->setModified(flags);
    EXPECT_FALSE(rois->isModified()) << flags;
  }
}

TEST_F(RoisHost, AnInsertedRoiLeavesTheSetModified) {
  rois->fire(1);
  rois->setModified(0);
  addMask("A");
  rois->fire(1);
  EXPECT_TRUE(rois->isModified());
}

TEST_F(RoisHost, BoundingBoxIsThatOfTheField) {
  McBox3f box(1, 2, 3, 4, 5, 6);
  rois->getBoundingBox(box.data());
  EXPECT_EQ(box, McBox3f());
  const auto field = makeField({13, 11, 7});
  field->setBoundingBox(McBox3f(-6, 6, 0, 20, 1, 7));
  ASSERT_TRUE(rois->portData.connect(field));
  rois->getBoundingBox(box.data());
  EXPECT_EQ(box, McBox3f(-6, 6, 0, 20, 1, 7));
}

TEST_F(RoisHost, TheDataPortIsATightConnection) {
  EXPECT_EQ(rois->portData.getName(), "data");
  EXPECT_EQ(rois->portData.getLabel(), "Data");
  EXPECT_TRUE(rois->portData.isTight());
}

TEST_F(RoisHost, OnlyFieldsOfTheGridAreConnected) {
  addMask("A", {13, 11, 7});
  const auto good = makeField({13, 11, 7});
  const auto bad = makeField({13, 11, 8});
  bad->setLabel("%2 image");
  const McHandle<HxColormap> other(new HxColormap);
  other->setLabel("glow");

  EXPECT_TRUE(rois->portData.connect(good));
  EXPECT_FALSE(rois->portData.connect(bad));
  EXPECT_FALSE(rois->portData.connect(other));
  EXPECT_EQ(rois->portData.source(), good.get());
  EXPECT_THAT(console.errors, IsEmpty());

  HxRois::PortDataConnectionCheck check(rois);
  EXPECT_TRUE(check(good));
  EXPECT_FALSE(check(bad));
  EXPECT_FALSE(check(other));
  EXPECT_FALSE(check(nullptr));
  EXPECT_EQ(refusalOf([&] { check.ensureCompatibleWith(other); }), "glow% is not an uniform scalar field 3.");
  EXPECT_EQ(refusalOf([&] { check.ensureCompatibleWith(bad); }),
            "Mask is incompatible with data (different dimension)");
}

TEST_F(RoisHost, TheKindOfSourceIsDecidedBeforeTheGrid) {
  addMask("A", {13, 11, 7});
  const McHandle<HxColormap> colormap(new HxColormap);
  HxApplication::instance()->setLoadingNetwork(true);
  EXPECT_FALSE(rois->portData.connect(colormap));
  EXPECT_TRUE(rois->baseConnection.connect(colormap)) << "the rule is for the data alone";
  HxApplication::instance()->setLoadingNetwork(false);
  EXPECT_THAT(console.errors, IsEmpty());
}

TEST_F(RoisHost, FlushBuildsTheLowerResolutionsWhenItIsTheLast) {
  Mask* mask = addMask("A", {600, 20, 20});
  const auto levelsInFile = [mask] {
    return hxvoxora::VolumeHeader::read(hxvoxora::FileSystem::posix(), mask->temporaryPrefix() + ".ldm").levels;
  };
  fill(*mask, {1, 1, 1}, {500, 5, 5});
  rois->flush(false);
  EXPECT_EQ(levelsInFile(), 1);
  fill(*mask, {2, 2, 2}, {500, 5, 5});
  rois->flush(true);
  EXPECT_EQ(levelsInFile(), mask->volumeMask()->levelCount());
  EXPECT_GT(levelsInFile(), 1);
}

TEST_F(RoisHost, AnyFieldSuitsASetWithoutMasks) {
  EXPECT_TRUE(rois->portData.connect(makeField({2, 3, 4})));
}

TEST_F(RoisHost, RefusedConnectionsOfANetworkTellWhy) {
  addMask("A", {13, 11, 7});
  const auto bad = makeField({13, 11, 8});
  HxApplication::instance()->setLoadingNetwork(true);
  EXPECT_FALSE(rois->portData.connect(bad));
  HxApplication::instance()->setLoadingNetwork(false);
  ASSERT_EQ(console.errors.size(), 1U);
  EXPECT_EQ(console.errors[0], "Mask is incompatible with data (different dimension)");
}

TEST_F(RoisHost, ScriptsAreToldWhyAFieldIsRefused) {
  addMask("A", {13, 11, 7});
  const auto bad = makeField({13, 11, 8});
  const McHandle<HxColormap> other(new HxColormap);
  other->setLabel("glow");
  HxObjectPool& pool = HxObjectPool::instance();
  pool.add(rois, "atlas");
  pool.add(bad, "bad");
  pool.add(other, "glow");
  HxInterpreter& tcl = HxInterpreter::instance();
  const auto grid = tcl.evaluate("atlas data connect bad");
  const auto kind = tcl.evaluate("atlas data connect glow");
  pool.clear();
  ASSERT_TRUE(grid && kind);
  EXPECT_THAT(grid->message.toStdString(),
              ::testing::EndsWith(": Mask is incompatible with data (different dimension)"));
  EXPECT_THAT(kind->message.toStdString(), ::testing::EndsWith(": glow% is not an uniform scalar field 3."));
  EXPECT_EQ(console.consoleEntries.size(), 2U);
  EXPECT_THAT(console.errors, IsEmpty());
}

TEST_F(RoisHost, TheFirstMaskMustFitTheField) {
  const auto field = makeField({13, 11, 7});
  ASSERT_TRUE(rois->portData.connect(field));
  EXPECT_EQ(refusalOf([&] { addMask("A", {13, 11, 8}); }), "Mask is incompatible with data (different dimension)");
  EXPECT_EQ(rois->getNumberOfMasks(), 0U);
  addMask("A", {13, 11, 7});
}

TEST_F(RoisHost, AnEditorLocksTheConnections) {
  EXPECT_TRUE(rois->portData.isEditingAllowed());
  const McHandle<HxEditor> editor(new PlainEditor);
  rois->setEditor(editor);
  EXPECT_FALSE(rois->portData.isEditingAllowed());
  EXPECT_FALSE(rois->baseConnection.isEditingAllowed());
  rois->setEditor(nullptr);
  EXPECT_TRUE(rois->portData.isEditingAllowed());
  EXPECT_TRUE(rois->baseConnection.isEditingAllowed());
}

TEST_F(RoisHost, CreationLinesEndInFire) {
  HxObjectPool::instance().add(rois, "my set");
  char* text = nullptr;
  std::size_t length = 0;
  FILE* file = open_memstream(&text, &length);
  rois->saveCreation(file, nullptr, 0);
  std::fclose(file);
  const std::string script(text, length);
  std::free(text);
  EXPECT_THAT(script, ::testing::EndsWith("\n\"my_set\" fire\n"));
  rois->saveCreation(nullptr, nullptr, 0);
  HxObjectPool::instance().remove(rois);
}

TEST_F(RoisHost, FlushWritesPendingEditsOnly) {
  Mask* a = addMask("A");
  rois->addRoi(makeGroup("G", {"B"}));
  fill(*a, {0, 0, 0}, {1, 1, 1});
  fill(*rois->getMask("B"), {0, 0, 0}, {1, 1, 1});
  Mask* untouched = addMask("C");
  rois->flush(false);
  EXPECT_TRUE(boost::filesystem::exists(a->temporaryPrefix() + ".ldm"));
  EXPECT_TRUE(boost::filesystem::exists(rois->getMask("B")->temporaryPrefix() + ".ldm"));
  EXPECT_FALSE(boost::filesystem::exists(untouched->temporaryPrefix() + ".ldm"));
  EXPECT_FALSE(a->volumeMask()->hasUnsavedEdits());
  fill(*a, {1, 1, 1}, {1, 1, 1});
  rois->flush(true);
  EXPECT_FALSE(a->volumeMask()->hasUnsavedEdits());
}

TEST_F(RoisHost, NoFlushWritesAMaskThatWasNeverEdited) {
  const Mask* a = addMask("A");
  for (const bool final : {false, true}) {
    rois->flush(final);
    EXPECT_FALSE(boost::filesystem::exists(a->temporaryPrefix() + ".ldm")) << final;
  }
}

TEST_F(RoisHost, IsEvaluatedWhenSelected) {
  class Counting : public HxRois {
  public:
    void compute() override { ++evaluations; }
    int evaluations = 0;
  };
  const McHandle<Counting> counting(new Counting);
  HxObjectPool& pool = HxObjectPool::instance();
  pool.add(counting, "counting");
  pool.add(rois, "other");
  pool.select(rois);
  EXPECT_EQ(counting->evaluations, 0);
  pool.select(counting);
  EXPECT_EQ(counting->evaluations, 1);
  pool.select(nullptr);
  EXPECT_EQ(counting->evaluations, 1);
  pool.remove(counting);
  pool.remove(rois);
  pool.select(rois);
  EXPECT_EQ(counting->evaluations, 1);
  pool.select(nullptr);
}

TEST_F(RoisHost, RoisForgetAColormapThatGoes) {
  HxObjectPool& pool = HxObjectPool::instance();
  McHandle<HxColormap> colormap(new HxColormap);
  pool.add(colormap, "colours");
  rois->addRoi(makeGroup("Group", {"Member"}));
  rois->getGroup("Group")->setColormap(colormap);
  rois->getMask("Member")->setColormap(colormap);
  ASSERT_EQ(rois->getGroup("Group")->getGroupMask()->colormap(false), colormap);
  rois->fire(1);
  pool.remove(colormap);
  colormap.reset();
  EXPECT_EQ(rois->getGroup("Group")->colormap(false), nullptr);
  EXPECT_EQ(rois->getMask("Member")->colormap(false), nullptr);
  EXPECT_EQ(rois->getGroup("Group")->getGroupMask()->colormap(false), nullptr) << "it is gone";
  rois->getMask("Member")->setColor(McColor(0, 1, 0));
  rois->fire(1);
  EXPECT_EQ(rois->findPort("colormap-Member")->isNew(), false);
}

TEST_F(RoisHost, RoisOutsideASetForgetAColormapThatGoes) {
  McHandle<HxColormap> colormap(new HxColormap);
  const auto group = makeGroup("Group", {"Member"});
  group->getMask("Member")->setColormap(colormap);
  group->setColormap(colormap);
  rois->addRoi(group);
  rois->fire(1);
  rois->removeRoi("Group");
  const McHandle<Mask> taken = group->removeMask("Member");
  EXPECT_EQ(taken->colormap(false), colormap);
  colormap.reset();
  EXPECT_EQ(taken->colormap(false), nullptr);
  rois->addRoi(taken);
  rois->fire(1);
  EXPECT_EQ(taken->colormap(true), nullptr);
  const McHandle<HxColormap> next(new HxColormap);
  taken->setColormap(next);
  EXPECT_EQ(taken->colormap(false), next);
}

TEST_F(RoisHost, AColormapThatGoesLeavesTheGroupMaskAlone) {
  HxObjectPool& pool = HxObjectPool::instance();
  const McHandle<HxColormap> colormap(new HxColormap);
  pool.add(colormap, "colours");
  rois->addRoi(makeGroup("Group", {"Member"}));
  const Mask* groupMask = rois->getGroup("Group")->getGroupMask();
  pool.remove(colormap);
  EXPECT_EQ(rois->getGroup("Group")->getGroupMask(), groupMask);
}

TEST_F(RoisHost, FlushTriesAllMasksBeforeItFails) {
  for (const char* name : {"A", "B", "C"}) fill(*addMask(name), {1, 1, 1}, {2, 2, 2});
  hxvoxora::FaultFileSystem faults(hxvoxora::FileSystem::posix());
  faults.arm({.only = hxvoxora::FileCall::create});
  {
    const hxvoxora::FileSystemOverride current(faults);
    const McHandle<HxRois> set(new HxRois);
    for (const char* name : {"A", "B", "C"}) {
      set->addRoi(makeMask(name));
      fill(*set->getMask(name), {1, 1, 1}, {2, 2, 2});
    }
    EXPECT_THROW(set->flush(false), McException);
    int written = 0;
    for (const Mask* mask : set->masks()) written += boost::filesystem::exists(mask->temporaryPrefix() + ".ldm");
    EXPECT_EQ(written, 2);
    set->removeAllRois();
    hxroi::details::TemporaryFolder::leave();
  }
}

}  // namespace
