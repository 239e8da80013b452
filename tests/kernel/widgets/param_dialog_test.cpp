#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <gmock/gmock.h>

#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/kernel/widgets/QxParamDialog.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

constexpr int kName = 0, kType = 1, kValue = 2;
constexpr int kSeveral = HxParamBase::Bold | HxParamBase::Italic;

std::string textOf(const HxParamBundle& bundle, const std::string& indent = {}) {
  std::string text;
  for (int i = 0; i < bundle.size(); ++i) {
    const HxParamBase* element = bundle[i];
    const auto* parameter = dynamic_cast<const HxParameter*>(element);
    text += indent + element->name();
    if (parameter) {
      text += std::string(" ") + HxParameter::typeName(parameter->type()) + " " + parameter->print() + "\n";
    } else {
      text += "\n" + textOf(static_cast<const HxParamBundle&>(*element), indent + "  ");
    }
  }
  return text;
}

class ParamDialog : public ::testing::Test {
protected:
  ParamDialog() {
    bundle.set("species", "mouse");
    bundle.set("count", 3);
    bundle.set("scale", 0.5);
    bundle.set("origin", std::vector<double>{1, 2, 3});
    bundle.getBundle("Scanner")->set("model", "X1");
    bundle.set("Id", "1234")->setFlag(HxParamBase::Internal, true);
    dialog.setBundle(&bundle);
    dialog.show();
    QObject::connect(&dialog, &QxParamDialog::dataChanged, [this] { ++changes; });
  }

  QTreeWidget& tree() { return *dialog.findChild<QTreeWidget*>("parameters"); }
  QPushButton& button(const char* name) { return *dialog.findChild<QPushButton*>(name); }
  QPushButton& button(QDialogButtonBox::StandardButton which) { return *dialog.buttonBox()->button(which); }
  std::string refusal() {
    const auto* label = dialog.findChild<QLabel*>("refusal");
    return label->isVisible() ? label->text().toStdString() : std::string();
  }

  QTreeWidgetItem* row(const char* name) {
    const auto found = tree().findItems(name, Qt::MatchExactly | Qt::MatchRecursive, kName);
    EXPECT_EQ(found.size(), 1) << name;
    return found.value(0);
  }

  /// Types into the open editor and presses Return.
  void type(const QString& text) {
    auto* line = tree().viewport()->findChild<QLineEdit*>();
    ASSERT_NE(line, nullptr);
    line->selectAll();
    line->insert(text);
    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    QApplication::sendEvent(line, &enter);
    // The view takes it over when control is back at the event loop.
    QApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }

  void edit(const char* name, int column, const QString& text) {
    Q_EMIT tree().itemDoubleClicked(row(name), column);
    type(text);
  }

  bool opensEditor(const char* name, int column) {
    Q_EMIT tree().itemDoubleClicked(row(name), column);
    const bool open = !tree().viewport()->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly).isEmpty();
    tree().setCurrentItem(nullptr);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return open;
  }

  HxParamBundle bundle{"roi"};
  QxParamDialog dialog;
  int changes = 0;
};

constexpr const char* kUntouched =
    "species text mouse\ncount integer 3\nscale real 0.5\norigin reals 1.0 2.0 3.0\nScanner\n  model text X1\n"
    "Id text 1234\n";

TEST_F(ParamDialog, ShowsNamesTypesAndValuesButNothingHidden) {
  std::vector<std::string> rows;
  for (QTreeWidgetItemIterator it(&tree()); *it; ++it)
    rows.push_back(QStringList{(*it)->text(0), (*it)->text(1), (*it)->text(2)}.join('|').toStdString());
  EXPECT_THAT(rows, ElementsAre("species|text|mouse", "count|integer|3", "scale|real|0.5", "origin|reals|1.0 2.0 3.0",
                                "Scanner|bundle|", "model|text|X1"));
}

TEST_F(ParamDialog, WritesOnApplyAndTellsAfterwards) {
  dialog.enableApply(true);
  EXPECT_FALSE(button(QDialogButtonBox::Apply).isHidden());
  std::string written;
  QObject::connect(&dialog, &QxParamDialog::dataChanged, [&] { written = bundle.find("species")->print(); });
  edit("species", kValue, "rat");
  EXPECT_EQ(textOf(bundle), kUntouched) << "before Apply";
  button(QDialogButtonBox::Apply).click();
  EXPECT_EQ(written, "rat");
  EXPECT_EQ(changes, 1);
  EXPECT_TRUE(dialog.isVisible());
}

TEST_F(ParamDialog, HasNoApplyUnlessItIsAskedFor) {
  EXPECT_TRUE(button(QDialogButtonBox::Apply).isHidden());
}

TEST_F(ParamDialog, HasWrittenWhenItsOkTells) {
  std::string written;
  QObject::connect(&button(QDialogButtonBox::Ok), &QPushButton::clicked,
                   [&] { written = bundle.find("count")->print(); });
  edit("count", kValue, " 12 ");
  button(QDialogButtonBox::Ok).click();
  EXPECT_EQ(written, "12");
  EXPECT_EQ(changes, 0);
  EXPECT_FALSE(dialog.isVisible());
}

TEST_F(ParamDialog, TakesWhatIsStillBeingTyped) {
  Q_EMIT tree().itemDoubleClicked(row("species"), kValue);
  auto* line = tree().viewport()->findChild<QLineEdit*>();
  ASSERT_NE(line, nullptr);
  line->selectAll();
  line->insert("rat");
  button(QDialogButtonBox::Ok).click();
  EXPECT_EQ(bundle.find("species")->print(), "rat");
}

TEST_F(ParamDialog, StaysWhenOkEndsAnEditThatIsRefused) {
  edit("species", kValue, "rat");
  Q_EMIT tree().itemDoubleClicked(row("count"), kValue);
  auto* line = tree().viewport()->findChild<QLineEdit*>();
  ASSERT_NE(line, nullptr);
  line->selectAll();
  line->insert("three");
  button(QDialogButtonBox::Ok).click();
  EXPECT_TRUE(dialog.isVisible());
  EXPECT_EQ(refusal(), "\"three\" is no value of the type integer.");
  EXPECT_EQ(bundle.find("species")->print(), "rat");
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  edit("count", kValue, "4");
  button(QDialogButtonBox::Ok).click();
  EXPECT_FALSE(dialog.isVisible());
  EXPECT_EQ(bundle.find("count")->print(), "4");
}

TEST_F(ParamDialog, ForgetsOnCancel) {
  edit("species", kValue, "rat");
  button(QDialogButtonBox::Cancel).click();
  EXPECT_EQ(textOf(bundle), kUntouched);
  dialog.show();
  EXPECT_EQ(row("species")->text(kValue), "mouse");
}

TEST_F(ParamDialog, RefusesValuesOfAnotherType) {
  for (const char* bad : {"three", "3.5", "", "9223372036854775808", "3 4", "0x10"}) {
    edit("count", kValue, bad);
    EXPECT_EQ(refusal(), std::string("\"") + bad + "\" is no value of the type integer.");
    EXPECT_EQ(row("count")->text(kValue), "3");
  }
  edit("scale", kValue, "1,5");
  EXPECT_THAT(refusal(), HasSubstr("type real"));
  edit("origin", kValue, "1 x");
  EXPECT_THAT(refusal(), HasSubstr("type reals"));
  edit("origin", kValue, "  4 5e-1 ");
  EXPECT_EQ(refusal(), "");
  edit("species", kValue, "");
  dialog.accept();
  EXPECT_EQ(bundle.find("origin")->print(), "4.0 0.5");
  EXPECT_EQ(bundle.find("species")->print(), "");
  EXPECT_EQ(bundle.find("count")->print(), "3");
}

TEST_F(ParamDialog, ChangesTypesWhereTheValueFits) {
  row("count")->setText(kType, "real");
  row("species")->setText(kType, "integer");
  EXPECT_EQ(refusal(), "\"mouse\" is no value of the type integer.");
  EXPECT_EQ(row("species")->text(kType), "text");
  row("scale")->setText(kType, "bundle");
  row("Scanner")->setText(kType, "text");
  dialog.accept();
  EXPECT_EQ(textOf(bundle),
            "species text mouse\ncount real 3.0\nscale real 0.5\norigin reals 1.0 2.0 3.0\nScanner\n"
            "  model text X1\nId text 1234\n");
}

TEST_F(ParamDialog, OffersTheTypesInAList) {
  Q_EMIT tree().itemDoubleClicked(row("scale"), kType);
  auto* types = tree().viewport()->findChild<QComboBox*>();
  ASSERT_NE(types, nullptr);
  EXPECT_EQ(types->count(), 4);
  EXPECT_EQ(types->currentText(), "real");
}

TEST_F(ParamDialog, Renames) {
  edit("species", kName, "kind of animal");
  EXPECT_EQ(row("kind_of_animal")->text(kValue), "mouse");
  edit("count", kName, "scale");
  EXPECT_EQ(refusal(), "There is \"scale\" already.");
  edit("count", kName, " ");
  EXPECT_EQ(refusal(), "A parameter needs a name.");
  edit("count", kName, "Id");
  EXPECT_EQ(refusal(), "There is \"Id\" already.") << "also when that is hidden";
  dialog.accept();
  EXPECT_EQ(bundle.find("species"), nullptr);
  EXPECT_EQ(bundle.find("kind_of_animal")->print(), "mouse");
}

TEST_F(ParamDialog, AddsAndRemoves) {
  tree().setCurrentItem(row("model"));
  button("newParameter").click();
  type("serial");
  edit("serial", kValue, "77");
  tree().setCurrentItem(row("Scanner"));
  button("newBundle").click();
  type("coil");
  tree().setCurrentItem(row("origin"));
  button("remove").click();
  tree().setCurrentItem(nullptr);
  button("newParameter").click();
  type("last");
  EXPECT_EQ(textOf(bundle), kUntouched);
  dialog.accept();
  EXPECT_EQ(textOf(bundle),
            "species text mouse\ncount integer 3\nscale real 0.5\nScanner\n  model text X1\n"
            "  serial text 77\n  coil\nId text 1234\nlast text \n");
}

TEST_F(ParamDialog, KeepsWhatBelongsToTheProgram) {
  bundle.find("count")->setFlag(HxParamBase::Fixed, true);
  bundle.find("species")->setFlag(HxParamBase::Permanent, true);
  bundle.getBundle("Scanner")->setFlag(HxParamBase::NameLocked, true);
  dialog.setBundle(&bundle);
  EXPECT_FALSE(opensEditor("count", kValue));
  EXPECT_FALSE(opensEditor("count", kName));
  EXPECT_FALSE(opensEditor("Scanner", kName));
  EXPECT_TRUE(opensEditor("species", kValue));
  row("count")->setText(kValue, "5");
  EXPECT_EQ(refusal(), "\"count\" belongs to the program.");
  row("Scanner")->setText(kName, "x");
  EXPECT_EQ(refusal(), "\"Scanner\" belongs to the program.");
  tree().setCurrentItem(row("species"));
  EXPECT_FALSE(button("remove").isEnabled());
  dialog.accept();
  EXPECT_EQ(textOf(bundle), kUntouched);
}

TEST_F(ParamDialog, MarksParametersWithSeveralValuesUntilTheyAreEdited) {
  bundle.find("species")->setFontStyleFlag(kSeveral, true);
  dialog.setBundle(&bundle);
  EXPECT_TRUE(row("species")->font(kValue).bold() && row("species")->font(kValue).italic());
  EXPECT_FALSE(row("count")->font(kValue).bold());
  EXPECT_THAT(row("species")->toolTip(kValue).toStdString(), HasSubstr("different values"));
  edit("species", kValue, "rat");
  EXPECT_FALSE(row("species")->font(kValue).bold());
  EXPECT_TRUE(bundle.find("species")->getFontStyleFlag(kSeveral)) << "before Ok";
  dialog.accept();
  EXPECT_FALSE(bundle.find("species")->getFontStyleFlag(kSeveral));
}

TEST_F(ParamDialog, WritesNothingThatWasNotEdited) {
  edit("count", kValue, "4");
  bundle.set("species", "rat");
  bundle.set("Id", "5678");
  bundle.set("late", 1);
  dialog.accept();
  EXPECT_EQ(bundle.find("species")->print(), "rat") << "changed by somebody else meanwhile";
  EXPECT_EQ(bundle.find("Id")->print(), "5678");
  EXPECT_EQ(bundle.find("count")->print(), "4");
  EXPECT_NE(bundle.find("late"), nullptr);
}

TEST_F(ParamDialog, LeavesTextsAloneThatALineCannotShow) {
  bundle.set("note", std::string("two\nlines\0and more", 18));
  dialog.setBundle(&bundle);
  Q_EMIT tree().itemDoubleClicked(row("note"), kValue);
  dialog.accept();
  EXPECT_EQ(bundle.find("note")->print(), std::string("two\nlines\0and more", 18));
}

TEST_F(ParamDialog, MayShowNothing) {
  dialog.setBundle(nullptr);
  EXPECT_EQ(tree().topLevelItemCount(), 0);
  EXPECT_FALSE(button(QDialogButtonBox::Ok).isEnabled());
  EXPECT_FALSE(button("newParameter").isEnabled());
  dialog.apply();
  EXPECT_EQ(changes, 1);
  dialog.accept();
  EXPECT_EQ(textOf(bundle), kUntouched);
}

TEST_F(ParamDialog, DoesNotTouchABundleOnceItShowsAnother) {
  auto brief = std::make_unique<HxParamBundle>();
  brief->set("x", 1);
  dialog.setBundle(brief.get());
  Q_EMIT tree().itemDoubleClicked(row("x"), kValue);
  dialog.setBundle(&bundle);
  brief.reset();
  dialog.accept();
  EXPECT_EQ(textOf(bundle), kUntouched);
}

TEST_F(ParamDialog, SurvivesHostileTexts) {
  bundle.set("format", "%1 %n %s <b>bold</b> &amp;");
  bundle.set("long", std::string(100000, 'x'));
  bundle.set("bad", "\xff\xfe\x80");
  dialog.setBundle(&bundle);
  EXPECT_EQ(row("format")->text(kValue), "%1 %n %s <b>bold</b> &amp;");
  edit("count", kValue, "%1 %2 <b>");
  EXPECT_EQ(refusal(), "\"%1 %2 <b>\" is no value of the type integer.");
  edit("count", kValue, QString(10000, 'y'));
  EXPECT_LT(refusal().size(), 300U);
  dialog.accept();
  EXPECT_EQ(bundle.find("bad")->print(), "\xff\xfe\x80");
}

TEST_F(ParamDialog, LooksAsInThePicture) {
  dialog.enableApply(true);
  bundle.find("species")->setFontStyleFlag(kSeveral, true);
  bundle.find("count")->setFlag(HxParamBase::Fixed, true);
  dialog.setWindowTitle("ROI Parameters");
  dialog.setBundle(&bundle);
  row("scale")->setText(kValue, "wide");
  QDir().mkpath(QUARN_BINARY_DIR "/screenshots");
  EXPECT_TRUE(dialog.grab().save(QUARN_BINARY_DIR "/screenshots/param-dialog.png"));
}

}  // namespace
