#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QTableView>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QTest>
#include <gmock/gmock.h>

#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/widgets/QxPropertyArea.h"
#include "quarn/kernel/widgets/detail/TableModel.h"

using quarn::detail::TableModel;

namespace {

McHandle<HxTable> someTable() {
  McHandle<HxTable> table(new HxTable);
  table->addColumn("name", HxTable::Kind::Text);
  table->addColumn("volume", HxTable::Kind::Real, 1);
  table->addRow({std::string("left"), 20.5});
  table->addRow({std::string("right"), 3.0});
  table->addRow({{}, {}});
  return table;
}

QString textOf(const QAbstractItemModel& model, int row, int column) {
  return model.index(row, column).data().toString();
}

class ObjectHeaderTest : public ::testing::Test {
protected:
  ObjectHeaderTest() { area_.show(); }

  QLabel* facts() const { return area_.findChild<QLabel*>("facts"); }
  QTableView* cells() const { return area_.findChild<QTableView*>("cells"); }

  QxPropertyArea area_;
};

}  // namespace

TEST(TableModel, ShowsATableAsItsTextDoes) {
  TableModel model;
  const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
  EXPECT_EQ(0, model.rowCount());
  const McHandle<HxTable> table = someTable();
  model.reset(table);
  EXPECT_EQ(3, model.rowCount());
  EXPECT_EQ("volume", model.headerData(1, Qt::Horizontal).toString());
  EXPECT_EQ("20.5", textOf(model, 0, 1));
  EXPECT_EQ("3.0", textOf(model, 1, 1));
  EXPECT_EQ("", textOf(model, 2, 0));
  EXPECT_EQ(20.5, model.index(0, 1).data(Qt::EditRole).toDouble());
  table->clear();
  EXPECT_FALSE(model.index(0, 0).data().isValid()) << "before it is told";
  model.reset(nullptr);
  EXPECT_EQ(0, model.rowCount());
}

TEST_F(ObjectHeaderTest, TellsWhatAnImageIs) {
  const McHandle<HxUniformScalarField3> image(new HxUniformScalarField3({4, 5, 6}, McPrimType::Int16));
  area_.setObject(image);
  EXPECT_EQ(QString::fromUtf8("4 × 5 × 6 voxels of 1 × 1 × 1, %1")
                .arg(HxUniformScalarField3::primTypeName(McPrimType::Int16)),
            facts()->text());
  EXPECT_FALSE(cells()->isVisible());
  const McHandle<HxUniformLabelField3> labels(new HxUniformLabelField3({4, 5, 6}));
  area_.setObject(labels);
  EXPECT_EQ(QString::fromUtf8("4 × 5 × 6 voxels of 1 × 1 × 1, labels"), facts()->text());
  area_.setObject(nullptr);
  EXPECT_FALSE(facts()->isVisible());
}

TEST_F(ObjectHeaderTest, FollowsWhatBecomesOfTheImage) {
  const McHandle<HxUniformScalarField3> image(new HxUniformScalarField3);
  area_.setObject(image);
  EXPECT_EQ("no voxels", facts()->text());
  image->resize({2, 2, 2}, McPrimType::Float);
  image->notifyChanged();
  EXPECT_TRUE(QTest::qWaitFor([this] { return facts()->text().startsWith(QLatin1String("2 ")); }, 3000));
}

TEST_F(ObjectHeaderTest, ShowsAndSortsATable) {
  const McHandle<HxTable> table = someTable();
  area_.setObject(table);
  ASSERT_TRUE(cells()->isVisible());
  EXPECT_EQ("3 rows, 2 columns", facts()->text());
  EXPECT_EQ("left", textOf(*cells()->model(), 0, 0));
  cells()->sortByColumn(1, Qt::DescendingOrder);
  EXPECT_EQ("left", textOf(*cells()->model(), 1, 0)) << "by number, not by text, and nothing is more";
  cells()->sortByColumn(1, Qt::AscendingOrder);
  EXPECT_EQ("right", textOf(*cells()->model(), 0, 0));
}

TEST_F(ObjectHeaderTest, CopiesCellsForSpreadsheets) {
  const McHandle<HxTable> table = someTable();
  area_.setObject(table);
  cells()->setFocus();
  cells()->selectAll();
  QTest::keyClick(cells(), Qt::Key_C, Qt::ControlModifier);
  EXPECT_TRUE(QApplication::clipboard()->text().endsWith(QLatin1String("\nright\t3.0\n\t")))
      << QApplication::clipboard()->text().toStdString();
}
