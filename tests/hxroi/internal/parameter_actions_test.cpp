#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QPushButton>
#include <gmock/gmock.h>

#include "hxroi/internal/SeveralParameters.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/kernel/widgets/QxParamDialog.h"
#include "tests/hxroi/internal/ActionsTest.h"

using ::testing::ElementsAre;

namespace {

constexpr int kSeveral = HxParamBase::Bold | HxParamBase::Italic;

/// "name=value" of each parameter, "name{...}" of each bundle; "*" marks several values.
std::string textOf(const HxParamBundle& bundle) {
  std::string text;
  for (int i = 0; i < bundle.size(); ++i) {
    if (i > 0) text += ' ';
    text += bundle[i]->name() + (bundle[i]->getFontStyleFlag(kSeveral) ? "*" : "");
    if (bundle[i]->isBundle()) {
      text += "{" + textOf(dynamic_cast<const HxParamBundle&>(*bundle[i])) + "}";
    } else {
      text += "=" + dynamic_cast<const HxParameter&>(*bundle[i]).print();
    }
  }
  return text;
}

/// Without the identifier, which is another one each time.
std::string valuesOf(const HxParamBundle& bundle) {
  HxParamBundle others(bundle);
  others.remove("Id");
  return textOf(others);
}

}  // namespace

class ParameterActions : public ActionsTest {
protected:
  HxParamBundle& parameters(const char* roi) { return rois->getRoi(roi)->parameters(); }

  void click(QDialogButtonBox::StandardButton button) { actions->paramDialog()->buttonBox()->button(button)->click(); }
};

// --- The copy -----------------------------------------------------------------------------------------------------

TEST_F(ParameterActions, EditOneRoiItself) {
  fillAndOpen();
  select({"a"});
  EXPECT_EQ(actions->bundleFromSelection(), &parameters("a"));
  actions->editSelectedRoiParameters();
  EXPECT_EQ(actions->paramDialog()->bundle(), &parameters("a"));
  EXPECT_TRUE(actions->paramDialog()->isVisible());
}

TEST_F(ParameterActions, CopyThoseOfSeveral) {
  fillAndOpen();
  parameters("a").set("same", 1);
  parameters("a").set("other", "x");
  parameters("a").getBundle("inner")->set("depth", 1);
  parameters("b").set("same", 1);
  parameters("b").set("other", "y");
  parameters("b").set("more", 0.5);
  parameters("b").getBundle("inner")->set("depth", 2);
  select({"a", "b"});
  const HxParamBundle* copy = actions->bundleFromSelection();
  EXPECT_EQ(copy->name(), "copy");
  EXPECT_EQ(textOf(*copy), "same=1 other*=x inner{depth*=1} more=0.5");
}

TEST_F(ParameterActions, CopyNothingWithoutSelection) {
  fillAndOpen();
  view->selectionModel()->clear();
  const HxParamBundle* copy = actions->bundleFromSelection();
  EXPECT_EQ(copy->name(), "copy");
  EXPECT_EQ(copy->size(), 0);
}

TEST_F(ParameterActions, CopyAPlainParameterAsItIs) {
  HxParamBundle copy("copy");
  HxParameter parameter("size", 3);
  parameter.setFontStyleFlag(kSeveral, true);
  hxroi::addToCopy(copy, parameter);
  EXPECT_EQ(textOf(copy), "size*=3");
}

TEST_F(ParameterActions, CopyWithoutMarks) {
  HxParamBundle copy("copy");
  HxParamBundle bundle("roi");
  bundle.set("size", 3)->setFontStyleFlag(kSeveral, true);
  bundle.set("hidden", 1)->setFlag(HxParamBase::Internal, true);
  bundle.set("partly", 1)->setFlag(HxParamBase::Hidden, true);
  hxroi::addToCopy(copy, bundle);
  EXPECT_EQ(textOf(copy), "size=3 partly=1");
}

TEST_F(ParameterActions, KeepAMarkOnceItIsThere) {
  HxParamBundle copy("copy");
  for (const int value : {1, 2, 1}) {
    HxParamBundle bundle("roi");
    bundle.set("size", value);
    hxroi::addToCopy(copy, bundle);
  }
  EXPECT_EQ(textOf(copy), "size*=1");
}

TEST_F(ParameterActions, MarkAllMembers) {
  HxParamBundle bundle("roi");
  bundle.set("size", 3);
  bundle.getBundle("inner")->set("depth", 1);
  QxRoiTreeViewActionSet::setParamBundleMultiValues(bundle, true);
  EXPECT_EQ(textOf(bundle), "size*=3 inner{depth*=1}");
  QxRoiTreeViewActionSet::setParamBundleMultiValues(bundle, false);
  EXPECT_EQ(textOf(bundle), "size=3 inner{depth=1}");
}

// --- Writing back -------------------------------------------------------------------------------------------------

TEST_F(ParameterActions, WriteToAllSelected) {
  fillAndOpen();
  parameters("a").set("size", 1);
  parameters("b").set("size", 2);
  const std::string id = rois->getRoi("a")->id();
  select({"a", "b"});
  actions->editSelectedRoiParameters();
  actions->paramDialog()->bundle()->set("size", 5);
  click(QDialogButtonBox::Ok);
  EXPECT_EQ(valuesOf(parameters("a")), "size=5");
  EXPECT_EQ(valuesOf(parameters("b")), "size=5");
  EXPECT_EQ(rois->getRoi("a")->id(), id);
}

TEST_F(ParameterActions, KeepEveryOtherParameterThatTheCopyLacks) {
  HxParamBundle bundle("roi");
  for (const char* name : {"Id", "p1", "p2", "p3", "p4"}) bundle.set(name, name);
  bundle.find("Id")->setFlag(HxParamBase::Internal, true);
  HxParamBundle copy("copy");
  copy.set("p9", "new");
  hxroi::writeSeveral(bundle, copy);
  EXPECT_EQ(textOf(bundle), "Id=Id p1=p1 p3=p3 p9=new");
  EXPECT_TRUE(bundle.find("Id")->getFlag(HxParamBase::Internal));
}

TEST_F(ParameterActions, WriteNoMarks) {
  fillAndOpen();
  parameters("a").set("size", 1);
  parameters("b").set("size", 2);
  select({"a", "b"});
  actions->bundleToSelection(actions->bundleFromSelection());
  EXPECT_EQ(valuesOf(parameters("a")), "size=1");
  EXPECT_EQ(valuesOf(parameters("b")), "size=1");
}

TEST_F(ParameterActions, GiveNobodyTheIdentifierOfAnother) {
  fillAndOpen();
  select({"a", "b"});
  const std::string id = rois->getRoi("b")->id();
  const HxParamBundle copy(parameters("a"));
  actions->bundleToSelection(&copy);
  EXPECT_EQ(rois->getRoi("b")->id(), id);
  EXPECT_TRUE(parameters("b").find("Id")->getFlag(HxParamBase::Internal));
}

TEST_F(ParameterActions, LeaveTheBundleAloneThatTheyAreReadFrom) {
  fillAndOpen();
  parameters("a").set("size", 1);
  parameters("a").set("color", "x");
  select({"a", "b"});
  actions->bundleToSelection(&parameters("a"));
  EXPECT_EQ(valuesOf(parameters("a")), "size=1 color=x");
  EXPECT_EQ(valuesOf(parameters("b")), "size=1 color=x");
}

TEST_F(ParameterActions, TellOfThem) {
  fillAndOpen();
  select({"a"});
  rois->setModified(0);
  actions->parametersChanged();
  EXPECT_TRUE(rois->isModified());
  actions->bundleToSelection(nullptr);
}

TEST_F(ParameterActions, GoToTheRoisThatTheDialogWasOpenedFor) {
  fillAndOpen();
  parameters("a").set("size", 1);
  parameters("b").set("size", 2);
  select({"a", "b"});
  actions->editSelectedRoiParameters();
  select({"c", "d"});
  click(QDialogButtonBox::Ok);
  EXPECT_EQ(valuesOf(parameters("b")), "size=1");
  EXPECT_EQ(valuesOf(parameters("c")), "");
}

TEST_F(ParameterActions, AreThoseOfTheDialogWhoeverAsksForTheSelection) {
  fillAndOpen();
  select({"a", "b"});
  actions->editSelectedRoiParameters();
  HxParamBundle* shown = actions->paramDialog()->bundle();
  shown->set("size", 5);
  select({"c", "d"});
  EXPECT_NE(actions->bundleFromSelection(), shown);
  actions->bundleFromSelection();
  EXPECT_EQ(actions->paramDialog()->bundle(), shown);
  click(QDialogButtonBox::Apply);
  EXPECT_EQ(valuesOf(parameters("a")), "size=5");
  EXPECT_EQ(valuesOf(parameters("b")), "size=5");
  EXPECT_EQ(valuesOf(parameters("c")), "");
}

TEST_F(ParameterActions, AreWrittenWhenTheViewHasGone) {
  fillAndOpen();
  select({"a", "b"});
  actions->editSelectedRoiParameters();
  actions->paramDialog()->bundle()->set("size", 5);
  view.reset();
  rois->setModified(0);
  click(QDialogButtonBox::Ok);
  EXPECT_EQ(valuesOf(parameters("a")), "size=5");
  EXPECT_EQ(valuesOf(parameters("b")), "size=5");
  EXPECT_TRUE(rois->isModified());
}

TEST_F(ParameterActions, AreWrittenToTheSetThatHasThem) {
  fillAndOpen();
  select({"a", "b"});
  actions->editSelectedRoiParameters();
  actions->paramDialog()->bundle()->set("size", 5);
  const McHandle<HxRois> other(new HxRois);
  model->setupModelData(other);
  rois->setModified(0);
  other->setModified(0);
  click(QDialogButtonBox::Ok);
  EXPECT_EQ(valuesOf(parameters("b")), "size=5");
  EXPECT_TRUE(rois->isModified());
  EXPECT_FALSE(other->isModified());
  model->setupModelData(rois);
}

TEST_F(ParameterActions, OutliveTheirRoi) {
  fillAndOpen();
  parameters("a").set("size", 1);
  select({"a"});
  actions->editSelectedRoiParameters();
  delete model->removeRoi(0, {}, true);
  EXPECT_EQ(valuesOf(*actions->paramDialog()->bundle()), "size=1");
  click(QDialogButtonBox::Ok);
  select({"b", "c"});
  actions->editSelectedRoiParameters();
  EXPECT_EQ(actions->paramDialog()->bundle()->name(), "copy");
  rois.reset();
  click(QDialogButtonBox::Ok);
  EXPECT_EQ(model->rowCount(), 0);
}

TEST_F(ParameterActions, KeepNoRoiOnceTheDialogIsClosed) {
  fillAndOpen();
  const McHandle<Roi> a(rois->getRoi("a"));
  select({"a"});
  actions->editSelectedRoiParameters();
  delete model->removeRoi(0, {}, true);
  rois->fire(1);
  EXPECT_GT(a->refCount(), 1);
  actions->paramDialog()->reject();
  QCoreApplication::processEvents();
  EXPECT_EQ(a->refCount(), 1);
  EXPECT_EQ(actions->paramDialog()->bundle(), nullptr);
}

TEST_F(ParameterActions, SurviveTheEndOfTheDialog) {
  fillAndOpen();
  select({"a"});
  delete actions->paramDialog();
  actions->editSelectedRoiParameters();
  actions->parametersChanged();
  EXPECT_EQ(actions->paramDialog(), nullptr);
}
