#include <QFile>
#include <QTemporaryDir>
#include <gmock/gmock.h>

#include "quarn/base/McBox3f.h"
#include "quarn/kernel/fields/HxTable.h"
#include "quarn/kernel/objects/HxEditor.h"
#include "tests/kernel/TestObjects.h"

namespace {

using ::testing::HasSubstr;

class TestEditor : public HxEditor {
public:
  TestEditor() = default;

protected:
  ~TestEditor() override = default;
};

/// Makes its data again by a script.
class Maker : public TestModule {
public:
  using TestModule::TestModule;
  bool canCreateData(HxData*, QString& script) override {
    script = "\"maker\" make\n";
    return true;
  }

protected:
  ~Maker() override = default;
};

class Data : public ::testing::Test {
protected:
  Data() { HxObjectPool::instance().add(data, "d"); }

  QString creationLines(const char* directory = nullptr) {
    QTemporaryDir folder(QString::fromStdString(::testing::TempDir()) + "XXXXXX");
    const QByteArray path = folder.filePath("network").toLocal8Bit();
    std::FILE* file = std::fopen(path.constData(), "w");
    data->saveCreation(file, directory, 0);
    std::fclose(file);
    QFile written(path);
    EXPECT_TRUE(written.open(QIODevice::ReadOnly));
    return QString::fromUtf8(written.readAll());
  }

  HxRecordingSink sink;
  Log log;
  McHandle<TestData> data = new TestData(log, "");
  PoolCleaner cleaner;
};

TEST_F(Data, AnswersItsCommands) {
  EXPECT_EQ(evaluate("d getLabel"), "d");
  EXPECT_EQ(evaluate("d setLabel {My data}; d getLabel"), "My data");
  EXPECT_EQ(evaluate("d setLabel; d getLabel"), "d");
  EXPECT_EQ(evaluate("d getClass"), "HxData");
  EXPECT_EQ(evaluate("d ports"), "master input");
  EXPECT_EQ(evaluate("d getResult"), "error: \"d\" has no result.");
  log.clear();
  EXPECT_EQ(evaluate("d fire"), "");
  EXPECT_EQ(evaluate("d compute"), "");
  EXPECT_EQ(log.size(), 4u);
}

TEST_F(Data, ListsItsCommandsOnRequest) {
  EXPECT_EQ(evaluate("d"), "");
  EXPECT_EQ(evaluate("d help"), "");
  for (const char* word : {"fire", "compute", "getLabel", "save ?FORMAT? FILE", "parameters", "ports"}) {
    EXPECT_THAT(sink.consoleText(), HasSubstr(word));
  }
}

TEST_F(Data, NamesTheWordThatItDoesNotKnow) {
  EXPECT_EQ(evaluate("d [string repeat x 1000000]").size(),
            std::string("error: \"d\" has neither a command nor a port \"\".").size() + 203);
  EXPECT_THAT(evaluate("d fire now"), HasSubstr("error: "));
}

TEST_F(Data, LosesItsEditorWithANotice) {
  McHandle<TestEditor> editor = new TestEditor;
  data->setEditor(editor);
  EXPECT_EQ(data->getEditor(), editor);
  EXPECT_EQ(editor->data(), data);
  data->setEditor(editor);
  EXPECT_EQ(data->editorChanges, 1);
  data->setEditor(nullptr);
  EXPECT_EQ(data->editorChanges, 2);
  EXPECT_EQ(editor->data(), nullptr);
}

TEST_F(Data, HasTheEmptyBoxByItself) {
  float box[6];
  data->getBoundingBox(box);
  const McBox3f empty;
  for (int i = 0; i < 6; ++i) EXPECT_EQ(box[i], empty[i]);
}

TEST_F(Data, IsBroughtBackByLoading) {
  data->setLoadCmd("/data/my scan [1].nii.gz");
  EXPECT_EQ(creationLines(), "load {/data/my scan [1].nii.gz} -as d\n");
  EXPECT_EQ(creationLines("/data"), "load {my scan [1].nii.gz} -as d\n");
  EXPECT_EQ(creationLines("/elsewhere"), "load {/data/my scan [1].nii.gz} -as d\n");
  data->saveCreation(nullptr, nullptr, 0);
}

TEST_F(Data, IsBroughtBackByItsModuleOrEmpty) {
  EXPECT_EQ(creationLines(), "create HxData d\n");
  McHandle<Maker> maker = new Maker(log);
  maker->setResult(data);
  EXPECT_EQ(creationLines(), "create HxData d\n") << "no script reaches a module outside the pool";
  HxObjectPool::instance().add(maker, "maker");
  EXPECT_EQ(creationLines(), "nameResult d {\"maker\" make}\n");
}

TEST_F(Data, NotesTheOptionsOfItsFile) {
  data->setLoadCmd("/data/atlas.nii");
  HxLoadOptions options;
  options.labels = "/data/names of labels.txt";
  options.kind = "label";
  options.values = HxLoadOptions::parseRanges("1-90,95");
  data->setLoadOptions(options);
  EXPECT_EQ(creationLines("/data"), "load atlas.nii -as d -labels {names of labels.txt} -kind label -values 1-90,95\n");
  data->setLoadCmd("/data/other.nii");
  EXPECT_EQ(creationLines("/data"), "load other.nii -as d\n") << "options of another file";
}

/// Only content is worth saving.
class ContentData : public TestData {
public:
  using TestData::TestData;
  void setModified(unsigned int flags) override { TestData::setModified(flags & 8); }
};

TEST_F(Data, StaysModifiedWhateverComesLater) {
  const McHandle<ContentData> content = new ContentData(log, "");
  content->touch(8);
  content->fire();
  content->touch(16);
  content->fire();
  EXPECT_TRUE(content->isModified());
  content->setModified(0);
  content->touch(16);
  content->fire();
  EXPECT_FALSE(content->isModified());
}

TEST_F(Data, IsRegisteredUnderTheNameOfItsFile) {
  auto* loaded = new TestData(log, "");
  HxData::registerData(loaded, "/data/ch2 (1).nii.gz");
  EXPECT_EQ(loaded->getName(), "ch2__1_.nii.gz");
}

TEST_F(Data, ReportsWhatCannotBeSaved) {
  EXPECT_THAT(evaluate("d save /nowhere/x.csv"), HasSubstr("error: "));
  EXPECT_THAT(evaluate("d save"), HasSubstr("error: "));
  EXPECT_EQ(evaluate("d formats"), "");
}

}  // namespace
