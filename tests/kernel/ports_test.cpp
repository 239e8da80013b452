#include <QLabel>
#include <cmath>
#include <gmock/gmock.h>
#include <limits>

#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/fields/HxVolumeData.h"
#include "quarn/kernel/objects/hxconnection_cast.h"
#include "quarn/kernel/ports/HxConnectionChecker.h"
#include "quarn/kernel/ports/HxPortDoIt.h"
#include "quarn/kernel/ports/HxPortInteger.h"
#include "quarn/kernel/ports/HxPortRadioBox.h"
#include "quarn/kernel/ports/HxPortReal.h"
#include "quarn/kernel/ports/HxPortSeparator.h"
#include "quarn/kernel/ports/HxPortText.h"
#include "tests/kernel/TestObjects.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class Ports : public ::testing::Test {
protected:
  Ports() {
    HxObjectPool::instance().add(owner, "owner");
    HxObjectPool::instance().add(other, "other");
  }

  HxRecordingSink sink;
  Log log;
  McHandle<TestModule> owner = new TestModule(log, "");
  McHandle<TestData> other = new TestData(log, "");
  HxConnection field{owner, "field", "Field", HxUniformScalarField3::getClassTypeId()};
  HxPortDoIt doIt{owner, "doIt", "Do It", 2};
  HxPortRadioBox style{owner, "style", "Style", 2};
  HxPortSeparator separator{owner, "separator"};
  PoolCleaner cleaner;
};

TEST_F(Ports, StandInTheOrderOfTheirMaking) {
  EXPECT_EQ(evaluate("owner ports"), "data second field doIt style separator");
}

TEST_F(Ports, ConnectTheTypesThatAreAccepted) {
  EXPECT_FALSE(field.connect(other));
  EXPECT_EQ(field.source(), nullptr);
  const McHandle<HxUniformLabelField3> labels = new HxUniformLabelField3;
  EXPECT_TRUE(field.connect(labels));
  EXPECT_EQ(hxconnection_cast<HxUniformScalarField3>(field), labels.get());
  EXPECT_EQ(hxconnection_cast<HxColormap>(field), nullptr);
  EXPECT_FALSE(field.connect(other));
  EXPECT_EQ(field.source(), labels);
  field.disconnect();
  EXPECT_EQ(hxconnection_cast<HxUniformScalarField3>(field), nullptr);
}

TEST_F(Ports, ConnectInterfacesAndFurtherTypes) {
  const McHandle<TestData> offering = new TestData(log);
  HxConnection volume(owner, "volume", "Volume", HxVolumeData::getClassTypeId());
  EXPECT_FALSE(volume.connect(offering));
  new HxVolumeData(offering, nullptr);
  EXPECT_TRUE(volume.connect(offering));
  EXPECT_NE(hxconnection_cast<HxVolumeData>(volume), nullptr);
  EXPECT_FALSE(volume.connect(other));
  volume.addAcceptedType(HxData::getClassTypeId());
  EXPECT_TRUE(volume.connect(other));
}

TEST_F(Ports, RaiseConnectionAndContentTogether) {
  owner->second.untouch();
  owner->second.connect(other);
  EXPECT_EQ(owner->second.getNewFlags(), 1u | 8u);
  owner->second.untouch();
  owner->second.connect(other);
  EXPECT_EQ(owner->second.getNewFlags(), 0u);
  owner->second.disconnect();
  EXPECT_EQ(owner->second.getNewFlags(), 1u | 8u);
}

TEST_F(Ports, RefuseCircles) {
  EXPECT_FALSE(other->input.connect(other));
  const McHandle<TestData> third = new TestData(log);
  EXPECT_TRUE(third->input.connect(other));
  EXPECT_FALSE(other->input.connect(third));
}

TEST_F(Ports, AskTheChecker) {
  struct Refusing : HxConnectionChecker {
    bool operator()(const HxObject* source) override {
      asked = source;
      return false;
    }
    const HxObject* asked = nullptr;
  } checker;
  owner->second.setChecker(&checker);
  EXPECT_FALSE(owner->second.connect(other));
  EXPECT_EQ(checker.asked, other);
  owner->second.setChecker(nullptr);
  EXPECT_TRUE(owner->second.connect(other));
}

TEST_F(Ports, LetGoOfASourceThatDies) {
  McHandle<TestData> mortal = new TestData(log);
  owner->second.connect(mortal);
  owner->second.untouch();
  mortal.reset();
  EXPECT_EQ(owner->second.source(), nullptr);
  EXPECT_EQ(owner->second.getNewFlags(), 1u | 8u);
}

TEST_F(Ports, SurviveTheirOwner) {
  McHandle<TestData> mortal = new TestData(log);
  HxConnection port(mortal, "port", "Port", HxData::getClassTypeId());
  port.connect(other);
  mortal.reset();
  EXPECT_EQ(port.owner(), nullptr);
  EXPECT_EQ(port.source(), nullptr) << "nobody is left whom it could tell";
  other->fire(1);
  HxConnection(owner, "free", "Free", HxData::getClassTypeId()).connect(other);
  EXPECT_TRUE(port.connect(nullptr));
  EXPECT_FALSE(port.connect(other));
  port.send();
}

TEST_F(Ports, ConnectFromScripts) {
  EXPECT_EQ(evaluate("owner second connect other; owner second source"), "other");
  EXPECT_EQ(owner->second.source(), other);
  EXPECT_EQ(evaluate("owner second disconnect; owner second source"), "");
  EXPECT_EQ(evaluate("owner second connect nobody"), "error: There is no object \"nobody\".");
  EXPECT_EQ(evaluate("owner field connect other"),
            "error: \"other\" cannot be connected to port \"field\" of \"owner\".");
  owner->second.allowEditing(false);
  EXPECT_EQ(evaluate("owner second connect other"), "error: Port \"second\" of \"owner\" must not be changed now.");
  EXPECT_EQ(evaluate("owner second disconnect"), "error: Port \"second\" of \"owner\" must not be changed now.");
}

TEST_F(Ports, TellTheReasonOfTheChecker) {
  struct Refusing : HxConnectionChecker {
    bool operator()(const HxObject*) override { return false; }
    QString reason(const HxObject* source) const override { return source->getLabel() + " is 100% too large"; }
  } checker;
  other->setLabel("The image");
  owner->second.setChecker(&checker);
  EXPECT_EQ(evaluate("owner second connect other"),
            "error: \"other\" cannot be connected to port \"second\" of \"owner\": The image is 100% too large");
  EXPECT_EQ(owner->second.source(), nullptr);
  owner->second.setChecker(nullptr);
}

TEST_F(Ports, ReportWrongWords) {
  EXPECT_EQ(evaluate("owner nothing hit"), "error: \"owner\" has neither a command nor a port \"nothing\".");
  EXPECT_EQ(evaluate("owner doIt jump"), "error: Port \"doIt\" of \"owner\" has no command \"jump\".");
  EXPECT_THAT(evaluate("owner second connect"), HasSubstr("error: "));
  EXPECT_THAT(evaluate("owner doIt hit 2"), HasSubstr("error: "));
  EXPECT_THAT(evaluate("owner doIt hit x"), HasSubstr("error: "));
  EXPECT_FALSE(doIt.wasHit(0));
}

TEST_F(Ports, ListTheirCommandsOnRequest) {
  EXPECT_EQ(evaluate("owner doIt help"), "");
  EXPECT_THAT(sink.consoleText(), HasSubstr("hit ?BUTTON?"));
  EXPECT_THAT(sink.consoleText(), ::testing::Not(HasSubstr("getResult")));
  sink.clear();
  EXPECT_EQ(evaluate("owner help"), "");
  EXPECT_THAT(sink.consoleText(), HasSubstr("getResult"));
}

TEST_F(Ports, KeepAHitUntilTheEndOfTheEvaluation) {
  std::vector<bool> seen;
  owner->onUpdate = [&] { seen.push_back(doIt.wasHit(0)); };
  owner->onCompute = [&] { seen.push_back(doIt.wasHit(1)); };
  EXPECT_FALSE(doIt.wasHit(1));
  EXPECT_EQ(evaluate("owner doIt hit 1"), "");
  EXPECT_TRUE(doIt.wasHit(1));
  EXPECT_THAT(log, ::testing::IsEmpty());
  owner->fire(1);
  EXPECT_THAT(seen, ElementsAre(false, true));
  EXPECT_FALSE(doIt.wasHit(1));
  doIt.hit(7);
  EXPECT_FALSE(doIt.wasHit(7));
}

TEST_F(Ports, ChooseOneOfSeveralButtons) {
  style.setLabel(0, "volume");
  style.setLabel(1, "boundary");
  style.untouch();
  style.setValue(0);
  EXPECT_FALSE(style.isNew());
  EXPECT_EQ(evaluate("owner style setValue boundary; owner style getValue"), "1");
  EXPECT_TRUE(style.isNew());
  EXPECT_EQ(evaluate("owner style getLabels"), "volume boundary");
  style.setLabel(0, "6");
  style.setLabel(1, "26");
  EXPECT_EQ(evaluate("owner style setValue 6; owner style getValue"), "0");
  EXPECT_EQ(evaluate("owner style setValue 26; owner style getValue"), "1");
  EXPECT_THAT(evaluate("owner style setValue 2"), HasSubstr("error: "));
  style.setValue(-1);
  QString state;
  style.getState(state);
  EXPECT_EQ(state, "-1");
  EXPECT_TRUE(style.setState("1"));
  EXPECT_EQ(style.getValue(), 1);
  EXPECT_FALSE(style.setState("many"));
  EXPECT_EQ(style.getValue(), 1);
}

TEST_F(Ports, HoldANumberInsideBounds) {
  HxPortInteger count(owner, "count", "Count", 2, 99);
  EXPECT_EQ(count.getValue(), 2);
  count.untouch();
  count.setValue(2);
  count.setValue(-5);
  EXPECT_FALSE(count.isNew());
  count.setValue(1000);
  EXPECT_TRUE(count.isNew());
  EXPECT_EQ(count.getValue(), 99);
  EXPECT_EQ(evaluate("owner count setValue 7; owner count getValue"), "7");
  EXPECT_EQ(evaluate("owner count getMinMax"), "2 99");
  for (const char* wrong : {"1", "100", "x", "7.5", "99999999999999999999"})
    EXPECT_THAT(evaluate(QString("owner count setValue ") + wrong), HasSubstr(wrong));
  EXPECT_EQ(count.getValue(), 7);
  QString state;
  count.getState(state);
  EXPECT_EQ(state, "7");
  EXPECT_TRUE(count.setState(" 8 "));
  EXPECT_EQ(count.getValue(), 8);
  EXPECT_FALSE(count.setState("many"));
  EXPECT_EQ(count.getValue(), 8);
}

TEST_F(Ports, HoldARealNumber) {
  const double infinity = std::numeric_limits<double>::infinity();
  HxPortReal level(owner, "level", "Level", -infinity);
  level.untouch();
  level.setValue(-infinity);
  level.setValue(std::nan(""));
  EXPECT_FALSE(level.isNew());
  EXPECT_EQ(evaluate("owner level getValue"), "-inf");
  EXPECT_EQ(evaluate("owner level setValue 0.1; owner level getValue"), "0.1");
  EXPECT_TRUE(level.isNew());
  EXPECT_EQ(level.getValue(), 0.1);
  for (const char* wrong : {"nan", "1,5", "1.5x", "0x10", "1e999"})
    EXPECT_THAT(evaluate(QString("owner level setValue ") + wrong), HasSubstr(wrong));
  EXPECT_THAT(evaluate("owner level setValue {}"), HasSubstr("value"));
  EXPECT_EQ(level.getValue(), 0.1);
  EXPECT_EQ(evaluate("owner level setValue inf; owner level getValue"), "inf");
  QString state;
  level.setValue(-1e-300);
  level.getState(state);
  EXPECT_EQ(state, "-1e-300");
  EXPECT_TRUE(level.setState(" 12345678.75 "));
  EXPECT_EQ(level.getValue(), 12345678.75);
  EXPECT_FALSE(level.setState("many"));
  EXPECT_EQ(level.getValue(), 12345678.75);
}

TEST_F(Ports, HoldALineOfText) {
  HxPortText text(owner, "mask", "Mask");
  text.untouch();
  text.setValue("");
  EXPECT_FALSE(text.isNew());
  EXPECT_EQ(evaluate("owner mask setValue {a [b] $c}; owner mask getValue"), "a [b] $c");
  EXPECT_TRUE(text.isNew());
  QString state;
  text.getState(state);
  EXPECT_EQ(state, text.getValue());
  EXPECT_TRUE(text.setState("b"));
  EXPECT_EQ(text.getValue(), "b");
}

TEST_F(Ports, HaveNoStateUnlessTheyNeedOne) {
  QString state = "untouched";
  separator.getState(state);
  EXPECT_EQ(state, "untouched");
}

TEST_F(Ports, FollowTheirNewName) {
  style.setName("look");
  EXPECT_EQ(evaluate("owner look getValue"), "0");
  EXPECT_THAT(evaluate("owner style getValue"), HasSubstr("error: "));
}

TEST_F(Ports, ShowAndHideWithoutMarks) {
  style.untouch();
  style.hide();
  EXPECT_EQ(evaluate("owner style isVisible"), "0");
  style.show();
  EXPECT_EQ(evaluate("owner style isVisible"), "1");
  EXPECT_FALSE(style.isNew());
}

TEST_F(Ports, MakeTheirWidgetAnew) {
  EXPECT_EQ(style.frame(), nullptr);
  EXPECT_EQ(style.layout(), nullptr);
  {
    QWidget panel;
    style.createWidget(&panel);
    ASSERT_NE(style.layout(), nullptr);
    EXPECT_EQ(qobject_cast<QLabel*>(style.layout()->itemAt(0)->widget())->text(), "Style");
    style.hide();
    EXPECT_TRUE(style.frame()->isHidden());
  }
  EXPECT_EQ(style.frame(), nullptr);
  QWidget panel;
  style.createWidget(&panel);
  EXPECT_TRUE(style.frame()->isHidden());
}

TEST_F(Ports, GiveAndTakeTheirStateInScripts) {
  EXPECT_EQ(evaluate("owner style setState 1; owner style getState"), "1");
  EXPECT_EQ(evaluate("owner separator getState"), "");
  EXPECT_EQ(evaluate("owner style setState none"),
            "error: Port \"style\" of \"owner\" cannot take the state \"none\".");
  EXPECT_EQ(evaluate("owner separator setState 1"),
            "error: Port \"separator\" of \"owner\" cannot take the state \"1\".");
  EXPECT_THAT(evaluate("owner style setState"), HasSubstr("usage: style setState TEXT"));
  HxPortText text(owner, "text", "Text");
  EXPECT_EQ(evaluate("owner text setState {a [b] \"c\"}; owner text getState"), "a [b] \"c\"");
}

}  // namespace
