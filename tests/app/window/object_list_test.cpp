#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <gmock/gmock.h>

#include "quarn/app/window/ObjectList.h"
#include "quarn/kernel/fields/HxTable.h"
#include "quarn/kernel/objects/HxObjectPool.h"

using quarn::app::ObjectList;

namespace {

class ObjectListTest : public ::testing::Test {
protected:
  ObjectListTest() : tester_(&list_, QAbstractItemModelTester::FailureReportingMode::Fatal) {}
  ~ObjectListTest() override { HxObjectPool::instance().clear(); }

  static HxObject* add(const char* name) {
    const McHandle<HxObject> object = HxObject::create(QStringLiteral("HxTable"));
    HxObjectPool::instance().add(object.get(), QString::fromLatin1(name));
    return object.get();
  }

  QStringList names() const {
    QStringList names;
    for (int row = 0; row < list_.rowCount(); ++row)
      names.append(list_.data(list_.index(row), Qt::DisplayRole).toString());
    return names;
  }

  ObjectList list_;
  QAbstractItemModelTester tester_;
};

}  // namespace

TEST_F(ObjectListTest, ShowsWhatIsInThePoolBeforeItsTime) {
  add("early");
  const ObjectList list;
  EXPECT_EQ(QStringLiteral("early"), list.data(list.index(0), Qt::DisplayRole).toString());
}

TEST_F(ObjectListTest, FollowsThePool) {
  HxObject* a = add("a");
  add("b");
  EXPECT_EQ(QStringList({"a", "b"}), names());
  HxObjectPool::instance().remove(a);
  EXPECT_EQ(QStringList("b"), names());
  HxObjectPool::instance().clear();
  EXPECT_EQ(QStringList(), names());
}

TEST_F(ObjectListTest, RenamesTheObjectAndFollowsRenaming) {
  HxObject* a = add("a");
  EXPECT_TRUE(list_.setData(list_.index(0), QStringLiteral(" left brain "), Qt::EditRole));
  EXPECT_EQ(QStringLiteral("left_brain"), a->getLabel());
  HxObjectPool::instance().rename(a, QStringLiteral("c"));
  EXPECT_EQ(QStringList("c"), names());
}

TEST_F(ObjectListTest, RefusesTheEmptyName) {
  add("a");
  EXPECT_FALSE(list_.setData(list_.index(0), QStringLiteral("  "), Qt::EditRole));
  EXPECT_EQ(QStringList("a"), names());
}

TEST_F(ObjectListTest, TellsOfAnObjectThatLeavesWhileItIsWhole) {
  HxObject* a = add("a");
  QStringList left;
  QObject::connect(&list_, &ObjectList::leaving, [&](HxObject* object) { left.append(object->getLabel()); });
  HxObjectPool::instance().remove(a);
  EXPECT_EQ(QStringList("a"), left);
}

TEST_F(ObjectListTest, NamesTheClass) {
  add("a");
  EXPECT_EQ(QStringLiteral("HxTable"), list_.data(list_.index(0), Qt::ToolTipRole).toString());
}
