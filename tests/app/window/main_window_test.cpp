#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <gmock/gmock.h>

#include "quarn/app/window/MainWindow.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/objects/HxObjectPool.h"

using quarn::app::MainWindow;

namespace {

class MainWindowTest : public ::testing::Test {
protected:
  ~MainWindowTest() override { HxObjectPool::instance().clear(); }

  static HxObject* add(const char* name) {
    const McHandle<HxObject> object = HxObject::create(QStringLiteral("HxTable"));
    HxObjectPool::instance().add(object.get(), QString::fromLatin1(name));
    return object.get();
  }

  /// Answers the next question; tells through `question` what it was.
  static void answerNext(QMessageBox::StandardButton answer, QString& question) {
    QTimer::singleShot(0, [answer, &question] {
      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      if (!box) return;
      question = box->text();
      EXPECT_TRUE(box->button(QMessageBox::No) == box->defaultButton());
      box->button(answer)->click();
    });
  }

  MainWindow window_;
};

}  // namespace

TEST_F(MainWindowTest, ChoosesTheFirstObjectThatComes) {
  HxObject* a = add("a");
  add("b");
  EXPECT_EQ(a, window_.chosen());
  EXPECT_EQ(a, HxObjectPool::instance().selected());
}

TEST_F(MainWindowTest, LetsGoOfAnObjectThatLeaves) {
  HxObject* a = add("a");
  HxObject* b = add("b");
  HxObjectPool::instance().remove(a);
  EXPECT_EQ(b, window_.chosen());
  HxObjectPool::instance().remove(b);
  EXPECT_EQ(nullptr, window_.chosen());
}

TEST_F(MainWindowTest, AsksBeforeChangesAreLost) {
  auto* data = dynamic_cast<HxData*>(add("measured"));
  ASSERT_NE(nullptr, data);
  data->touch();
  data->fire();
  ASSERT_TRUE(data->isModified());
  QString question;
  answerNext(QMessageBox::No, question);
  EXPECT_FALSE(window_.close());
  EXPECT_EQ(QStringLiteral("These objects are not saved: measured.\nQuit and lose the changes?"), question);
  answerNext(QMessageBox::Yes, question);
  EXPECT_TRUE(window_.close());
}

TEST_F(MainWindowTest, ClosesAtOnceWhenAllIsSaved) {
  EXPECT_TRUE(window_.close());
}

TEST_F(MainWindowTest, ShowsWhatGoesWrongWithAFileAndLoadsTheOthers) {
  const HxMessage::Mark mark = HxMessage::mark();
  window_.loadFiles({QStringLiteral("/no/such.nii")});
  EXPECT_EQ(mark.boxes + 1, HxMessage::mark().boxes);
  EXPECT_TRUE(HxObjectPool::instance().objects().empty());
}
