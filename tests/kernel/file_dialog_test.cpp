#include <QApplication>
#include <QFileDialog>
#include <QTimer>
#include <gmock/gmock.h>

#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxFileDialog.h"

TEST(FileDialog, CanBeAnsweredByAProgram) {
  QStringList asked;
  EXPECT_FALSE(HxFileDialog::setSaveFileName([&](const QString& caption, const QString& filter) {
    asked += caption + "|" + filter;
    return QStringLiteral("chosen");
  }));
  EXPECT_EQ("chosen", HxFileDialog::getSaveFileName("Save", "Images(*.png)"));
  EXPECT_THAT(asked, testing::ElementsAre("Save|Images(*.png)"));
  EXPECT_TRUE(HxFileDialog::setSaveFileName({}));
}

TEST(FileDialog, NobodyIsAskedInAnUnattendedRun) {
  EXPECT_TRUE(HxApplication::canAsk());
  HxApplication::setUnattended(true);
  EXPECT_FALSE(HxApplication::canAsk());
  EXPECT_EQ(QString(), HxFileDialog::getSaveFileName("Save", "Images(*.png)"));
  HxApplication::setUnattended(false);
  EXPECT_TRUE(HxApplication::canAsk());
}

TEST(FileDialog, ShowsCaptionAndFilter) {
  QString caption;
  QStringList filters;
  QTimer::singleShot(0, [&] {
    auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
    ASSERT_TRUE(dialog);
    caption = dialog->windowTitle();
    filters = dialog->nameFilters();
    dialog->reject();
  });
  EXPECT_EQ(QString(), HxFileDialog::getSaveFileName("Output filename", "ROIs(*.ROIs)"));
  EXPECT_EQ("Output filename", caption);
  EXPECT_THAT(filters, testing::ElementsAre("ROIs(*.ROIs)"));
}
