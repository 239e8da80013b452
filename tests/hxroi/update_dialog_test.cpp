#include <QApplication>
#include <QDialogButtonBox>
#include <QFrame>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <gmock/gmock.h>

#include "hxroi/internal/QxRoiUpdateDialog.h"
#include "quarn/kernel/app/HxFileDialog.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Stands in for the file dialog while it lives.
class ChosenFile {
public:
  explicit ChosenFile(const QString& answer) {
    former_ = HxFileDialog::setSaveFileName([this, answer](const QString& caption, const QString& filter) {
      captions.append(caption);
      filters.append(filter);
      return answer;
    });
  }
  ~ChosenFile() { HxFileDialog::setSaveFileName(former_); }
  ChosenFile(const ChosenFile&) = delete;
  ChosenFile& operator=(const ChosenFile&) = delete;

  QStringList captions, filters;

private:
  HxFileDialog::SaveFileName former_;
};

class RoiUpdateDialog : public testing::Test {
protected:
  RoiUpdateDialog() {
    forgetWishToEnd();
    dialog.ensurePolished();
  }

  /// A test before may have asked the application to end, as masks do that find no temporary folder; then no dialog
  /// runs.
  static void forgetWishToEnd() {
    QTimer::singleShot(0, &QCoreApplication::quit);
    QCoreApplication::exec();
  }

  template <class Widget>
  Widget& find(const char* name) {
    auto* widget = dialog.findChild<Widget*>(QLatin1String(name));
    if (!widget) throw std::runtime_error(std::string("there is no ") + name);
    return *widget;
  }

  QLineEdit& edit() { return find<QLineEdit>("filenameEdit"); }
  QPushButton& upgrade() { return find<QPushButton>("upgradeButton"); }

  QxRoiUpdateDialog dialog{"/data/brain.ROIs.qm", nullptr, nullptr, true, Qt::WindowFlags()};
};

}  // namespace

TEST_F(RoiUpdateDialog, ShowsItsTexts) {
  EXPECT_EQ(dialog.windowTitle(), "Update Legacy ROI File");
  EXPECT_EQ(dialog.objectName(), "QxRoiUpdateDlgBase");
  const auto& warning = find<QLabel>("warningLabel");
  EXPECT_EQ(warning.text(), "The format of this file is deprecated. Do you want to upgrade it now?");
  EXPECT_TRUE(warning.font().bold());
  EXPECT_EQ(find<QPushButton>("browseButton").text(), "Browse");
  EXPECT_EQ(upgrade().text(), "Upgrade");
  EXPECT_EQ(find<QPushButton>("abortButton").text(), "Abort");
  EXPECT_TRUE(dialog.isModal());
}

TEST_F(RoiUpdateDialog, StandsInRowsFromTopToBottom) {
  dialog.resize(dialog.sizeHint());
  dialog.show();
  std::vector<std::pair<int, std::string>> rows;
  const auto middle = [&](const QWidget* widget) { return widget->mapTo(&dialog, widget->rect().center()).y(); };
  for (const QLabel* label : dialog.findChildren<QLabel*>())
    rows.emplace_back(middle(label), label->text().toStdString());
  const auto lines = dialog.findChildren<QFrame*>("line");
  ASSERT_EQ(lines.size(), 1);
  EXPECT_EQ(lines[0]->frameShape(), QFrame::HLine);
  rows.emplace_back(middle(lines[0]), "-");
  std::sort(rows.begin(), rows.end());
  std::vector<std::string> texts;
  for (const auto& [y, text] : rows) texts.push_back(text);
  EXPECT_THAT(texts,
              ElementsAre("The format of this file is deprecated. Do you want to upgrade it now?", "Output filename",
                          "-", "Upgrading may be time and disk space consuming for large files."));
  for (const QLabel* label : dialog.findChildren<QLabel*>()) {
    const bool isNote = label->text().startsWith("Upgrading");
    EXPECT_EQ(label->font().pointSize() == 8, isNote);
    EXPECT_TRUE(label->text() != "Output filename" || std::abs(middle(label) - middle(&edit())) <= 1);
  }
  EXPECT_NEAR(middle(&edit()), middle(&find<QPushButton>("browseButton")), 1);
  EXPECT_LT(edit().x(), find<QPushButton>("browseButton").x());
  EXPECT_GT(middle(&upgrade()), rows.back().first);
  EXPECT_EQ(middle(&upgrade()), middle(&find<QPushButton>("abortButton")));
  EXPECT_LT(upgrade().x(), find<QPushButton>("abortButton").x());
}

TEST_F(RoiUpdateDialog, ProposesTheNameWithUpgraded) {
  EXPECT_EQ(edit().text(), "/data/brain-upgraded.ROIs.qm");
  EXPECT_EQ(dialog.filename(), "/data/brain-upgraded.ROIs.qm");
  EXPECT_TRUE(upgrade().isEnabled());
  EXPECT_EQ(QxRoiUpdateDialog::proposedName("a.ROIs.qm.ROIs.qm"), "a.ROIs.qm-upgraded.ROIs.qm");
  EXPECT_EQ(QxRoiUpdateDialog::proposedName("aROIsqm"), "aROIsqm");
  EXPECT_EQ(QxRoiUpdateDialog::proposedName("a.ROIs.qm.old"), "a.ROIs.qm.old");
  EXPECT_EQ(QxRoiUpdateDialog::proposedName(".ROIs.qm"), "-upgraded.ROIs.qm");
}

TEST_F(RoiUpdateDialog, TakesWhatIsTyped) {
  edit().setText("other");
  EXPECT_EQ(dialog.filename(), "other");
  edit().clear();
  EXPECT_EQ(dialog.filename(), "");
  EXPECT_FALSE(upgrade().isEnabled());
  edit().insert("b");
  EXPECT_TRUE(upgrade().isEnabled());
  dialog.outputFileChanged("");
  EXPECT_FALSE(upgrade().isEnabled());
}

TEST_F(RoiUpdateDialog, BrowsingTakesTheChosenName) {
  {
    ChosenFile chosen("/else/where.ROIs");
    find<QPushButton>("browseButton").click();
    EXPECT_THAT(chosen.captions, ElementsAre("Output filename"));
    EXPECT_THAT(chosen.filters, ElementsAre("ROIs(*.ROIs)"));
  }
  EXPECT_EQ(edit().text(), "/else/where.ROIs");
  EXPECT_EQ(dialog.filename(), "/else/where.ROIs");
  ChosenFile cancelled("");
  dialog.browseClicked();
  EXPECT_EQ(dialog.filename(), "/else/where.ROIs");
  edit().clear();
  dialog.browseClicked();
  EXPECT_FALSE(upgrade().isEnabled());
  ChosenFile again("/again.ROIs");
  dialog.browseClicked();
  EXPECT_TRUE(upgrade().isEnabled());
}

TEST_F(RoiUpdateDialog, UpgradeAcceptsAndAbortRejects) {
  const auto click = [&](const char* button) {
    QTimer::singleShot(0, [this, button] { find<QPushButton>(button).click(); });
    return dialog.exec();
  };
  EXPECT_EQ(click("upgradeButton"), QDialog::Accepted);
  EXPECT_EQ(click("abortButton"), QDialog::Rejected);
  QTimer::singleShot(0, [this] { dialog.upgradeClicked(); });
  EXPECT_EQ(dialog.exec(), QDialog::Accepted);
}

TEST_F(RoiUpdateDialog, KeysDoWhatTheyDoInDialogs) {
  const auto press = [&](int key) {
    QTimer::singleShot(0, [this, key] {
      QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
      QApplication::sendEvent(&edit(), &event);
    });
    return dialog.exec();
  };
  EXPECT_EQ(press(Qt::Key_Return), QDialog::Accepted);
  EXPECT_EQ(press(Qt::Key_Escape), QDialog::Rejected);
}

TEST(RoiUpdateDialogs, TakeNameAndModality) {
  QWidget parent;
  const QxRoiUpdateDialog dialog("a", &parent, "mine", false, Qt::Tool);
  EXPECT_EQ(dialog.objectName(), "mine");
  EXPECT_FALSE(dialog.isModal());
  EXPECT_EQ(dialog.parentWidget(), &parent);
  EXPECT_TRUE(dialog.windowFlags() & Qt::Tool);
  EXPECT_EQ(dialog.windowTitle(), "Update Legacy ROI File");
}

/// For who wants to see it.
TEST_F(RoiUpdateDialog, CanBeShown) {
  const QPixmap picture = dialog.grab();
  EXPECT_GT(picture.width(), 300);
  const char* file = std::getenv("QUARN_TEST_PICTURE");
  EXPECT_TRUE(!file || picture.save(QString::fromUtf8(file)));
}
