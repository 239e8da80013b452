#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QTimer>

#include "hxroi/internal/QxRoiTreeItemDelegate.h"
#include "quarn/kernel/widgets/QxColorDialog.h"
#include "tests/hxroi/internal/TreePortTest.h"

using ::testing::ElementsAre;

namespace {

void press(QWidget* widget, int key, const QString& text = QString(), Qt::KeyboardModifiers modifiers = {}) {
  QKeyEvent down(QEvent::KeyPress, key, modifiers, text);
  QApplication::sendEvent(widget, &down);
  QKeyEvent up(QEvent::KeyRelease, key, modifiers, text);
  QApplication::sendEvent(widget, &up);
  // A view takes over what was typed when control is back at the event loop.
  QApplication::processEvents();
}

class TreeDelegate : public TreePortTest {
protected:
  TreeDelegate() : TreePortTest(HxPortRoiTreeView::ROIS_MODULE) {
    addMask("Bone");
    addGroup("G", {"m"});
    port().setHxRois(rois);
    showWidget();
    view().expandAll();
    QApplication::processEvents();
    settle();
  }

  QLineEdit* editName(const char* name) {
    view().setCurrentIndex(index(name));
    view().edit(index(name));
    auto* line = view().viewport()->findChild<QLineEdit*>();
    EXPECT_NE(line, nullptr);
    settle();
    return line;
  }

  QxColorDialog* editColor(const char* name) {
    view().edit(index(name, 1));
    auto* dialog = view().findChild<QxColorDialog*>();
    EXPECT_NE(dialog, nullptr);
    return dialog;
  }

  void typeOver(QLineEdit* line, const QString& text) {
    line->selectAll();
    for (const QChar c : text) press(line, 0, c);
  }

  void deleteLeftOvers() {
    QApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
};

TEST_F(TreeDelegate, RenamesByTyping) {
  QLineEdit* line = editName("Bone");
  EXPECT_EQ(line->text(), "Bone");
  typeOver(line, "Skull 1");
  press(line, Qt::Key_Return);
  EXPECT_THAT(topLevelNames(), ElementsAre("Skull_1", "G"));
  EXPECT_EQ(owner->newEvaluations(), 1);
}

TEST_F(TreeDelegate, RefusesWhatIsNotPrintableAscii) {
  QLineEdit* line = editName("Bone");
  line->clear();
  for (const char16_t c : {u'\u00e4', u'\u00a0', u'\u20ac', u'\u3042', u'\u0007', u'\u001f', u'\u0080'}) {
    press(line, 0, QString(QChar(c)));
    EXPECT_EQ(line->text(), "") << static_cast<int>(c);
  }
  line->insert(QString::fromUcs4(U"\U0001F600"));
  EXPECT_EQ(line->text(), "");
  line->insert("a\u00e4b");
  EXPECT_EQ(line->text(), "") << "not even a part of it";
  for (int c = 0x20; c < 0x7F; ++c) press(line, 0, QString(QChar(c)));
  EXPECT_EQ(line->text().size(), 0x7F - 0x20);
  const QValidator* rule = line->validator();
  ASSERT_NE(rule, nullptr);
  int place = 0;
  for (const char* accepted : {" ", "~", "Bone 1", "\x7F", "$(x)[;]\"{}"}) {
    QString text = accepted;
    EXPECT_EQ(rule->validate(text, place), QValidator::Acceptable) << accepted;
  }
  for (const char* refused : {"\t", "Bone\n", "\n", "a\x01", "\u00e4"}) {
    QString text = QString::fromUtf8(refused);
    EXPECT_EQ(rule->validate(text, place), QValidator::Invalid) << refused;
  }
}

TEST_F(TreeDelegate, KeepsANameThatIsGivenUpOrEmpty) {
  QLineEdit* line = editName("Bone");
  typeOver(line, "x");
  press(line, Qt::Key_Escape);
  EXPECT_THAT(topLevelNames(), ElementsAre("Bone", "G"));
  deleteLeftOvers();
  line = editName("Bone");
  line->clear();
  press(line, Qt::Key_Return);
  EXPECT_THAT(topLevelNames(), ElementsAre("Bone", "G"));
  EXPECT_EQ(owner->newEvaluations(), 0);
}

TEST_F(TreeDelegate, SurvivesHostileNames) {
  for (const QString& name : {QString("%1%n%s"), QString("[exit]"), QString("\"; exit"), QString(10000, 'x'),
                              QString("../../etc"), QString("$x {"), QString(" ")}) {
    QLineEdit* line = editName(rois->begin()->get()->name().c_str());
    line->setText(name);
    press(line, Qt::Key_Return);
    deleteLeftOvers();
    const std::string given = (*rois->begin())->name();
    EXPECT_EQ(given, Roi::fixedName(given));
    EXPECT_EQ(rois->getNumberOfRois(), 2U);
  }
  EXPECT_THAT(console.errors, ::testing::IsEmpty());
}

TEST_F(TreeDelegate, TakesTheColourOfADialogThatIsAccepted) {
  QxColorDialog* dialog = editColor("Bone");
  EXPECT_TRUE(dialog->isWindow());
  EXPECT_TRUE(dialog->isVisible());
  EXPECT_FALSE(dialog->testOption(QColorDialog::ShowAlphaChannel));
  EXPECT_NEAR(dialog->getColor().r, 0.5F, 0.0001F) << "not rounded to 8 bits";
  dialog->setCurrentColor(QColor(255, 0, 0));
  dialog->accept();
  EXPECT_EQ(rois->getMask("Bone")->color(false), McColor(1, 0, 0));
  EXPECT_EQ(owner->newMarks(), 128U);
  deleteLeftOvers();
  EXPECT_EQ(view().findChild<QxColorDialog*>(), nullptr);
}

TEST_F(TreeDelegate, DropsTheColourOfADialogThatIsRejected) {
  QxColorDialog* dialog = editColor("Bone");
  dialog->setCurrentColor(QColor(255, 0, 0));
  dialog->reject();
  EXPECT_EQ(rois->getMask("Bone")->color(false), McColor(0.5F, 0.25F, 1));
  EXPECT_EQ(owner->newEvaluations(), 0);
  deleteLeftOvers();
  EXPECT_EQ(view().findChild<QxColorDialog*>(), nullptr);
  dialog = editColor("Bone");
  dialog->setCurrentColor(QColor(0, 0, 255));
  dialog->close();
  EXPECT_EQ(rois->getMask("Bone")->color(false), McColor(0.5F, 0.25F, 1)) << "closed by its window";
}

TEST_F(TreeDelegate, LetsADialogLiveThroughTheLossOfTheFocus) {
  QxColorDialog* dialog = editColor("Bone");
  dialog->setCurrentColor(QColor(255, 0, 0));
  QFocusEvent out(QEvent::FocusOut, Qt::ActiveWindowFocusReason);
  QApplication::sendEvent(dialog, &out);
  EXPECT_TRUE(dialog->isVisible());
  EXPECT_EQ(rois->getMask("Bone")->color(false), McColor(0.5F, 0.25F, 1));
  dialog->reject();
}

TEST_F(TreeDelegate, SurvivesTheDeathOfTheSetUnderADialog) {
  const QPointer<QxColorDialog> dialog = editColor("Bone");
  HxObjectPool::instance().remove(rois);
  rois.reset();
  if (dialog) dialog->accept();
  deleteLeftOvers();
  EXPECT_EQ(dialog, nullptr);
}

TEST_F(TreeDelegate, SurvivesTheDeathOfTheWidgetUnderADialog) {
  const QPointer<QxColorDialog> dialog = editColor("Bone");
  panel.reset();
  EXPECT_EQ(dialog, nullptr);
}

TEST_F(TreeDelegate, EditsNoColourOfAMaskInAGroup) {
  EXPECT_FALSE(model().flags(index("m", 1)) & Qt::ItemIsEditable);
  EXPECT_TRUE(model().flags(index("G", 1)) & Qt::ItemIsEditable);
}

TEST_F(TreeDelegate, FramesColours) {
  QImage image(60, 40, QImage::Format_RGB32);
  image.fill(Qt::white);
  QPainter painter(&image);
  QStyleOptionViewItem option;
  option.rect = image.rect();
  option.widget = &view();
  option.decorationSize = QSize(16, 16);
  view().itemDelegate()->paint(&painter, option, index("Bone", 1));
  painter.end();
  int black = 0, inside = 0;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      if (image.pixel(x, y) == qRgb(0, 0, 0)) ++black;
      if (image.pixel(x, y) == QColor::fromRgbF(0.5F, 0.25F, 1.0F).rgb()) ++inside;
    }
  }
  EXPECT_EQ(black, 60) << "the frame of 16 x 16 pixels";
  EXPECT_EQ(inside, 14 * 14);
}

}  // namespace

namespace {

class TreeSelectorDelegate : public TreePortTest {
protected:
  TreeSelectorDelegate() : TreePortTest(HxPortRoiTreeView::SELECTOR_MODULE) {
    addMask("Bone");
    addGroup("G", {"m", "n"});
    port().setHxRois(rois);
    showWidget();
    view().expandAll();
    port().setAllRoisVisible(false);
    settle();
  }

  /// Clicks on the check box of a row.
  void toggle(const char* name) {
    view().setCurrentIndex(index(name));
    press(&view(), Qt::Key_Space, QStringLiteral(" "));
    settle();
  }

  std::string visible() {
    std::string names;
    for (const char* name : {"Bone", "m", "n"})
      if (port().isRoiVisible(name)) names += std::string(names.empty() ? "" : " ") + name;
    return names;
  }
};

}  // namespace

TEST_F(TreeSelectorDelegate, MarkingAGroupWithoutMarksMarksItsMasks) {
  toggle("G");
  EXPECT_EQ("m n", visible());
  toggle("G");
  EXPECT_EQ("", visible());
  EXPECT_TRUE(model().treeItemFromName("m")->isVisible(false)) << "for when the group is marked again";
}

TEST_F(TreeSelectorDelegate, MarkingAGroupKeepsTheChoiceAmongItsMasks) {
  toggle("n");
  EXPECT_EQ("", visible()) << "its group is hidden";
  toggle("G");
  EXPECT_EQ("n", visible());
}

TEST_F(TreeSelectorDelegate, OtherKeysMarkNothing) {
  view().setCurrentIndex(index("G"));
  press(&view(), Qt::Key_Up);
  settle();
  EXPECT_FALSE(model().treeItemFromName("m")->isVisible(false));
}
