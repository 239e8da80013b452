#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gmock/gmock.h>
#include <limits>

#include "quarn/base/McException.h"
#include "quarn/kernel/fields/HxTable.h"
#include "tests/kernel/TestObjects.h"

namespace {

using ::testing::HasSubstr;

class Table : public ::testing::Test {
protected:
  Table() {
    using Kind = HxTable::Kind;
    table->addColumn("name", Kind::Text);
    table->addColumn("voxels", Kind::Integer);
    table->addColumn("mean", Kind::Real, 2);
    table->addRow({std::string("Precentral_L"), std::int64_t{28174}, 101.256});
    table->addRow({std::string("S\xc3\xa4ule, \"x\""), std::int64_t{5}, {}});
  }

  HxRecordingSink sink;
  PoolCleaner cleaner;
  McHandle<HxTable> table = new HxTable;
};

TEST_F(Table, AlignsItsColumns) {
  EXPECT_EQ(table->toText(),
            "name          voxels    mean\n"
            "------------  ------  ------\n"
            "Precentral_L   28174  101.26\n"
            "S\xc3\xa4ule, \"x\"         5\n");
}

TEST_F(Table, WritesExactNumbersAndQuotedTexts) {
  table->addRow({std::string("a\nb"), {}, 0.1});
  table->addRow({std::string(), std::int64_t{-1}, std::int64_t{3}});
  EXPECT_EQ(table->toCsv(),
            "name,voxels,mean\r\n"
            "Precentral_L,28174,101.256\r\n"
            "\"S\xc3\xa4ule, \"\"x\"\"\",5,\r\n"
            "\"a\nb\",,0.1\r\n"
            ",-1,3\r\n");
}

TEST_F(Table, RefusesRowsThatDoNotFit) {
  EXPECT_THROW(table->addRow({std::string("short")}), McException);
  EXPECT_THROW(table->addRow({std::string("a"), std::string("b"), 1.0}), McException);
  EXPECT_THROW(table->addRow({std::string("a"), 1.5, 1.0}), McException);
  EXPECT_EQ(table->rowCount(), 2);
}

TEST_F(Table, GetsFurtherColumns) {
  EXPECT_EQ(table->addColumn("max", HxTable::Kind::Real), 3);
  EXPECT_TRUE(std::holds_alternative<std::monostate>(table->cell(1, 3)));
  EXPECT_EQ(table->findColumn("voxels"), 1);
  EXPECT_EQ(table->findColumn("none"), -1);
  table->clear();
  EXPECT_EQ(table->toText(), "");
}

TEST_F(Table, ShowsExtremeNumbersAndLineEndsInOneLine) {
  table->addRow({std::string("a\nb"), std::numeric_limits<std::int64_t>::min(), -1e308});
  table->addRow({std::string("n"), {}, std::numeric_limits<double>::quiet_NaN()});
  const std::string text = table->toText();
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 6);
  EXPECT_THAT(text, HasSubstr("a b"));
  EXPECT_THAT(text, HasSubstr("nan"));
}

TEST_F(Table, IsPrintedAndAskedByScripts) {
  HxObjectPool::instance().add(table, "t");
  EXPECT_EQ(evaluate("t print"), "");
  EXPECT_EQ(sink.consoleText(), table->toText());
  EXPECT_EQ(evaluate("t getColumns"), "name voxels mean");
  EXPECT_EQ(evaluate("t getRowCount"), "2");
  EXPECT_EQ(evaluate("t getRow 0"), "Precentral_L 28174 101.256");
  EXPECT_EQ(evaluate("t getCell 0 voxels"), "28174");
  EXPECT_EQ(evaluate("t getCell 1 2"), "{}");
  for (const char* refused : {"t getRow 2", "t getRow -1", "t getCell 0 none", "t getCell x 0"}) {
    EXPECT_THAT(evaluate(refused), HasSubstr("error: ")) << refused;
  }
}

TEST_F(Table, IsSavedAsCsv) {
  QTemporaryDir folder(QString::fromStdString(::testing::TempDir()) + "XXXXXX");
  HxObjectPool::instance().add(table, "t");
  EXPECT_EQ(evaluate("t formats"), "CSV");
  const QString name = folder.filePath("out.csv");
  EXPECT_EQ(evaluate("t save CSV {" + name + "}"), "");
  QFile file(name);
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  EXPECT_EQ(file.readAll().toStdString(), table->toCsv());
  EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

TEST_F(Table, NamesTheFileThatCannotBeWritten) {
  HxObjectPool::instance().add(table, "t");
  EXPECT_THAT(evaluate("t save CSV /nowhere/at/all.csv"), HasSubstr("/nowhere/at/all.csv"));
  EXPECT_THROW(table->saveCsv("/nowhere/at/all.csv"), McException);
  EXPECT_THROW(table->saveCsv("/tmp"), McException);
}

}  // namespace
