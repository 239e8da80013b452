#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <gmock/gmock.h>
#include <memory>

#include "quarn/kernel/ports/HxPortColorList.h"
#include "quarn/kernel/ports/HxPortDoIt.h"
#include "quarn/kernel/ports/HxPortInteger.h"
#include "quarn/kernel/ports/HxPortText.h"
#include "quarn/kernel/widgets/QxPropertyArea.h"
#include "tests/kernel/TestObjects.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class PropertyArea : public ::testing::Test {
protected:
  PropertyArea() {
    HxObjectPool::instance().add(owner, "owner");
    area.resize(400, 300);
    area.show();
  }

  /// Names of the ports whose widgets can be seen, from top to bottom.
  std::vector<std::string> shown(const HxObject& object) {
    QApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QApplication::processEvents();
    std::map<int, std::string> names;
    for (const HxPort* port : object.ports()) {
      const QFrame* frame = port->frame();
      if (frame && frame->isVisible() && area.widget()->isAncestorOf(frame))
        names[frame->y()] = port->getName().toStdString();
    }
    std::vector<std::string> sorted;
    for (const auto& [y, name] : names) sorted.push_back(name);
    return sorted;
  }

  HxRecordingSink sink;
  Log log;
  McHandle<TestModule> owner = new TestModule(log, "");
  HxPortText text{owner, "text", "Name"};
  HxPortInteger number{owner, "number", "Minimum size", -5, 100};
  HxPortDoIt doIt{owner, "doIt", "Do It", 1};
  QxPropertyArea area;
  PoolCleaner cleaner;
};

TEST_F(PropertyArea, ShowsPortsInTheirOrder) {
  EXPECT_THAT(shown(*owner), IsEmpty());
  area.setObject(owner);
  EXPECT_THAT(shown(*owner), ::testing::IsSupersetOf({"text", "number", "doIt"}));
  const auto all = shown(*owner);
  EXPECT_LT(std::find(all.begin(), all.end(), "text"), std::find(all.begin(), all.end(), "number"));
  EXPECT_LT(std::find(all.begin(), all.end(), "number"), std::find(all.begin(), all.end(), "doIt"));
  EXPECT_EQ(area.findChild<QLabel*>("title")->text(), "owner");
}

TEST_F(PropertyArea, HidesAndShows) {
  area.setObject(owner);
  const auto all = shown(*owner);
  number.hide();
  EXPECT_EQ(shown(*owner).size(), all.size() - 1);
  const int below = doIt.frame()->y();
  number.show();
  EXPECT_EQ(shown(*owner), all);
  EXPECT_GT(doIt.frame()->y(), below) << "a hidden port takes no room";
}

TEST_F(PropertyArea, MakesAWidgetForAPortOnceItIsShown) {
  number.hide();
  area.setObject(owner);
  EXPECT_THAT(shown(*owner), ::testing::Not(::testing::Contains("number")));
  EXPECT_EQ(number.frame(), nullptr);
  number.show();
  const auto all = shown(*owner);
  EXPECT_LT(std::find(all.begin(), all.end(), "text"), std::find(all.begin(), all.end(), "number"));
  EXPECT_LT(std::find(all.begin(), all.end(), "number"), std::find(all.begin(), all.end(), "doIt"));
}

TEST_F(PropertyArea, FollowsPortsThatComeAndGo) {
  area.setObject(owner);
  const auto before = shown(*owner);
  auto late = std::make_unique<HxPortColorList>(owner, "late", "Colors", 2);
  auto after = before;
  after.push_back("late");
  EXPECT_EQ(shown(*owner), after);
  late.reset();
  EXPECT_EQ(shown(*owner), before);
  for (int i = 0; i < 3; ++i) {
    late = std::make_unique<HxPortColorList>(owner, "late", "Colors", 2);
    EXPECT_EQ(shown(*owner), after);
    late = std::make_unique<HxPortColorList>(owner, "late", "Colors", 2);
    EXPECT_EQ(shown(*owner), after);
  }
}

TEST_F(PropertyArea, MakesAWidgetAgainThatWasDestroyed) {
  area.setObject(owner);
  const auto all = shown(*owner);
  delete number.frame();
  EXPECT_EQ(number.frame(), nullptr);
  EXPECT_EQ(shown(*owner), all);
  number.createWidget(area.widget());
  EXPECT_EQ(shown(*owner), all);
}

TEST_F(PropertyArea, LeavesPortsAloneThatAreShownElsewhere) {
  QWidget elsewhere;
  number.createWidget(&elsewhere);
  area.setObject(owner);
  EXPECT_THAT(shown(*owner), ::testing::Not(::testing::Contains("number")));
  EXPECT_EQ(number.frame()->parentWidget(), &elsewhere);
}

TEST_F(PropertyArea, ShowsAnotherObjectAndNone) {
  const McHandle<TestModule> other(new TestModule(log, ""));
  HxPortText only(other, "only", "Only");
  area.setObject(owner);
  area.setObject(other);
  EXPECT_THAT(shown(*owner), IsEmpty());
  EXPECT_THAT(shown(*other), ::testing::Contains("only"));
  area.setObject(nullptr);
  EXPECT_THAT(shown(*other), IsEmpty());
  area.setObject(owner);
  EXPECT_THAT(shown(*owner), ::testing::Contains("text"));
}

TEST_F(PropertyArea, LetsGoOfAnObjectThatLeavesThePool) {
  area.setObject(owner);
  HxObjectPool::instance().remove(owner);
  EXPECT_EQ(area.object(), nullptr);
  EXPECT_THAT(shown(*owner), IsEmpty());
}

TEST_F(PropertyArea, KeepsAnObjectAliveThatNobodyElseHolds) {
  area.setObject(new TestModule(log, ""));
  ASSERT_NE(area.object(), nullptr);
  EXPECT_EQ(area.object()->refCount(), 1);
  area.setObject(nullptr);
}

TEST_F(PropertyArea, FollowsNameAndSelection) {
  area.setObject(owner);
  HxObjectPool::instance().rename(owner, "renamed");
  EXPECT_EQ(area.findChild<QLabel*>("title")->text(), "renamed");
  area.setObject(nullptr);
  HxObjectPool::instance().select(owner);
  EXPECT_EQ(area.object(), nullptr);
  area.setFollowingSelection(true);
  HxObjectPool::instance().select(owner);
  EXPECT_EQ(area.object(), owner.get());
  HxObjectPool::instance().select(nullptr);
  EXPECT_EQ(area.object(), nullptr);
}

TEST_F(PropertyArea, MayShowAnotherObjectWhenAButtonIsPressed) {
  area.setObject(owner);
  owner->onCompute = [this] { area.setObject(nullptr); };
  doIt.frame()->findChild<QPushButton*>()->click();
  EXPECT_THAT(shown(*owner), IsEmpty());
  owner->onCompute = {};
}

TEST_F(PropertyArea, MayDieWithItsWidgets) {
  auto brief = std::make_unique<QxPropertyArea>();
  brief->setObject(owner);
  brief.reset();
  EXPECT_EQ(number.frame(), nullptr);
  area.setObject(owner);
  EXPECT_THAT(shown(*owner), ::testing::Contains("number"));
}

}  // namespace
