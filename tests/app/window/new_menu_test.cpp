#include <gmock/gmock.h>

#include "quarn/app/window/HelpMenu.h"
#include "quarn/app/window/MainWindow.h"
#include "quarn/app/window/NewMenu.h"
#include "quarn/kernel/objects/HxCompModule.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/ports/HxConnection.h"

using quarn::app::HelpMenu;
using quarn::app::NewMenu;
using ::testing::ElementsAre;

/// A module that takes any data.
class MenuModule : public HxCompModule {
public:
  MC_CLASS_DECL(MenuModule)

  MenuModule() : HxCompModule(HxData::getClassTypeId()) {}

protected:
  ~MenuModule() override = default;
};

MC_CLASS_IMPL(MenuModule, HxCompModule)

namespace {

class NewMenuTest : public ::testing::Test {
protected:
  NewMenuTest() { MenuModule::initClass(); }
  ~NewMenuTest() override {
    HxObjectPool::instance().clear();
    MenuModule::exitClass();
  }

  static HxObject* add(const char* className, const char* name) {
    const McHandle<HxObject> object = HxObject::create(QString::fromLatin1(className));
    HxObjectPool::instance().add(object.get(), QString::fromLatin1(name));
    return object.get();
  }

  static QAction* find(const QMenu& menu, const QString& text) {
    for (QAction* action : menu.actions())
      if (action->text() == text) return action;
    return nullptr;
  }

  static QMenu* anyClass(const QMenu& menu) { return menu.actions().back()->menu(); }

  HxObject* chosen_ = nullptr;
  std::vector<std::string> lines_;
  quarn::app::ConsolePane console_;
  NewMenu menu_{[this] { return chosen_; },
                [this](const QString& line) {
                  lines_.push_back(line.toStdString());
                  console_.run(line);
                }};
};

}  // namespace

TEST_F(NewMenuTest, OffersAllClassesWhereNothingIsChosen) {
  menu_.fill();
  ASSERT_EQ(1, menu_.actions().size());
  ASSERT_NE(nullptr, anyClass(menu_));
  EXPECT_NE(nullptr, find(*anyClass(menu_), QStringLiteral("HxTable")));
  EXPECT_EQ(nullptr, find(*anyClass(menu_), QStringLiteral("HxObject"))) << "of which there are no objects";
}

TEST_F(NewMenuTest, MakesAnObjectByCommands) {
  menu_.fill();
  HxObject* made = nullptr;
  QObject::connect(&menu_, &NewMenu::made, [&made](HxObject* object) { made = object; });
  find(*anyClass(menu_), QStringLiteral("HxTable"))->trigger();
  ASSERT_NE(nullptr, made);
  EXPECT_EQ("HxTable", made->getName().toStdString());
  EXPECT_THAT(lines_, ElementsAre("create HxTable", "HxTable fire"));
}

TEST_F(NewMenuTest, OffersNothingForWhatNobodyTakes) {
  chosen_ = add("MenuModule", "module");
  menu_.fill();
  EXPECT_EQ(1, menu_.actions().size());
}

TEST_F(NewMenuTest, ConnectsWhatTakesTheChosenObject) {
  chosen_ = add("HxTable", "a&b");
  menu_.fill();
  QAction* const action =
      find(menu_, QStringLiteral("MenuModule of ") + QString(chosen_->getLabel()).replace('&', "&&"));
  ASSERT_NE(nullptr, action);
  action->trigger();
  EXPECT_THAT(lines_, ElementsAre("create MenuModule", "MenuModule data connect " + chosen_->getName().toStdString(),
                                  "MenuModule fire"));
  const auto* module = dynamic_cast<MenuModule*>(HxObjectPool::instance().find(QStringLiteral("MenuModule")));
  ASSERT_NE(nullptr, module);
  EXPECT_EQ(chosen_, module->dataConnection.source());
}

TEST_F(NewMenuTest, ForgetsWhatWasChosenBefore) {
  menu_.fill();
  menu_.fill();
  EXPECT_EQ(1, menu_.actions().size());
}

TEST(HelpMenu, AsksTheConsole) {
  std::vector<std::string> lines;
  HxObject* chosen = nullptr;
  HelpMenu menu([&chosen] { return chosen; }, [&lines](const QString& line) { lines.push_back(line.toStdString()); });
  menu.actions().at(0)->trigger();
  menu.actions().at(1)->trigger();
  EXPECT_THAT(lines, ElementsAre("help"));
  const McHandle<HxObject> object = HxObject::create(QStringLiteral("HxTable"));
  HxObjectPool::instance().add(object.get(), QStringLiteral("figures"));
  chosen = object.get();
  menu.actions().at(1)->trigger();
  EXPECT_THAT(lines, ElementsAre("help", "figures help"));
  HxObjectPool::instance().clear();
}
