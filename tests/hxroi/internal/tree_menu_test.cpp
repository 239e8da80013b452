#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QCursor>
#include <QDir>
#include <QMenu>
#include <QTimer>

#include "hxroi/internal/QxRoiTreeViewActionSet.h"
#include "tests/hxroi/internal/TreePortTest.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

/// The port of a set in a window, with the menu as the user sees it.
class TreeMenu : public TreePortTest {
protected:
  TreeMenu() : TreePortTest(HxPortRoiTreeView::ROIS_MODULE) {
    addMask("a");
    addMask("b");
    addGroup("G", {"m", "n"});
    addMask("c");
    port().setHxRois(rois);
    showWidget();
    view().expandAll();
    QApplication::processEvents();
  }

  void pointAt(const char* name) {
    const QRect place = view().visualRect(index(name));
    QCursor::setPos(view().viewport()->mapToGlobal(place.center()));
  }

  /// Opens the menu and answers with its entries: the text, behind "-" when it is disabled, "" for a separator.
  std::vector<std::string> entries(const std::function<void(QMenu&)>& meanwhile = {}) {
    std::vector<std::string> texts;
    QTimer::singleShot(0, [&] {
      auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
      if (!menu) return;
      for (const QAction* action : menu->actions())
        texts.push_back(action->isSeparator() ? "" : (action->isEnabled() ? "" : "-") + action->text().toStdString());
      if (meanwhile) return meanwhile(*menu);
      menu->close();
    });
    port().treeContextMenu();
    QApplication::processEvents();
    return texts;
  }

  /// The first part of the menu.
  std::vector<std::string> firstPart() {
    std::vector<std::string> texts = entries();
    if (texts.size() > 13) texts.resize(13);
    return texts;
  }
};

TEST_F(TreeMenu, OfOneMask) {
  select({"a"});
  pointAt("a");
  EXPECT_THAT(firstPart(), ElementsAre("New ROI", "Rename", "-Insert ROI", "Delete", "Edit Color", "Edit Parameters",
                                       "", "-Merge", "-Sub", "Invert ROIs", "Split ROI", "", "New Group"));
}

TEST_F(TreeMenu, OfOneGroup) {
  select({"G"});
  pointAt("G");
  EXPECT_THAT(firstPart(), ElementsAre("New ROI", "Rename", "Insert ROI", "Delete", "Edit Color", "Edit Parameters", "",
                                       "-Merge", "-Sub", "-Invert ROIs", "-Split ROI", "", "New Group"));
}

TEST_F(TreeMenu, OfOneMaskInAGroup) {
  select({"m"});
  pointAt("m");
  EXPECT_THAT(firstPart(), ElementsAre("New ROI", "Rename", "-Insert ROI", "Delete", "Edit Color", "Edit Parameters",
                                       "", "-Merge", "-Sub", "Invert ROIs", "Split ROI", "", "-New Group"));
}

TEST_F(TreeMenu, OfTwoMasksNamesTheOneUnderTheMouse) {
  select({"a", "m"});
  pointAt("m");
  EXPECT_THAT(firstPart(),
              ElementsAre("-New ROI", "-Rename", "-Insert ROI", "-Delete", "-Edit Color", "Edit Parameters", "",
                          "Merge To ROI m", "Sub From ROI m", "-Invert ROIs", "-Split ROI", "", "-New Group"));
  pointAt("a");
  EXPECT_EQ(firstPart()[7], "Merge To ROI a");
}

TEST_F(TreeMenu, OfThreeMasksOnlyMerges) {
  select({"a", "b", "c"});
  pointAt("b");
  EXPECT_EQ(firstPart()[7], "Merge To ROI b");
  EXPECT_EQ(firstPart()[8], "-Sub");
}

TEST_F(TreeMenu, OfMasksAndAGroupMergesNothing) {
  select({"a", "G"});
  pointAt("G");
  EXPECT_EQ(firstPart()[7], "-Merge To ROI G");
  EXPECT_EQ(firstPart()[8], "-Sub From ROI G");
}

TEST_F(TreeMenu, ForgetsItsFormerTexts) {
  select({"a", "b"});
  pointAt("a");
  EXPECT_EQ(firstPart()[7], "Merge To ROI a");
  select({"a"});
  EXPECT_EQ(firstPart()[7], "-Merge");
  EXPECT_EQ(firstPart()[8], "-Sub");
}

TEST_F(TreeMenu, DoesNotOpenOverEmptySpaceNorWithoutASelection) {
  select({"a"});
  QCursor::setPos(view().viewport()->mapToGlobal(view().viewport()->rect().bottomRight() - QPoint(2, 2)));
  EXPECT_THAT(entries(), IsEmpty());
  pointAt("a");
  view().clearSelection();
  EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(TreeMenu, OpensByARightClick) {
  select({"a"});
  pointAt("a");
  const QPoint place = view().visualRect(index("a")).center();
  std::size_t opened = 0;
  QTimer::singleShot(0, [&] {
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    if (menu) opened = menu->actions().size(), menu->close();
  });
  QContextMenuEvent event(QContextMenuEvent::Mouse, place, view().viewport()->mapToGlobal(place));
  QApplication::sendEvent(view().viewport(), &event);
  QApplication::processEvents();
  EXPECT_GE(opened, 13U);
}

TEST_F(TreeMenu, OpensByAKeyWhereverTheMouseIs) {
  select({"b"});
  QCursor::setPos(panel->mapToGlobal(QPoint(-50, -50)));
  const QPoint place = view().visualRect(index("b")).center();
  std::string insert;
  QTimer::singleShot(0, [&] {
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    if (menu) insert = menu->actions()[0]->text().toStdString(), menu->close();
  });
  QContextMenuEvent event(QContextMenuEvent::Keyboard, place, view().viewport()->mapToGlobal(place));
  QApplication::sendEvent(view().viewport(), &event);
  QApplication::processEvents();
  EXPECT_EQ(insert, "New ROI");
}

TEST_F(TreeMenu, NamesTheCurrentRowWhenAKeyOpensIt) {
  select({"a", "b"});
  pointAt("a");
  const QPoint place = view().visualRect(view().currentIndex()).center();
  std::string merge;
  QTimer::singleShot(0, [&] {
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    if (menu) merge = menu->actions()[7]->text().toStdString(), menu->close();
  });
  QContextMenuEvent event(QContextMenuEvent::Keyboard, place, view().viewport()->mapToGlobal(place));
  QApplication::sendEvent(&view(), &event);
  QApplication::processEvents();
  EXPECT_EQ(merge, "Merge To ROI b") << "the mask that receives the result";
}

TEST_F(TreeMenu, RunsWhatIsChosen) {
  select({"a"});
  pointAt("a");
  entries([](QMenu& menu) {
    menu.actions()[0]->trigger();
    menu.close();
  });
  EXPECT_THAT(topLevelNames(), ElementsAre("a", "ROI0", "b", "G", "c"));
}

TEST_F(TreeMenu, SurvivesTheDeathOfTheSetWhileItIsOpen) {
  select({"a", "b"});
  pointAt("a");
  entries([this](QMenu& menu) {
    HxObjectPool::instance().remove(rois);
    rois.reset();
    EXPECT_EQ(model().rowCount(), 0);
    menu.actions()[7]->trigger();
    menu.close();
  });
  EXPECT_THAT(console.errors, IsEmpty());
}

TEST_F(TreeMenu, SurvivesTheDeathOfItsWidgetWhileItIsOpen) {
  select({"a"});
  pointAt("a");
  EXPECT_THAT(entries([this](QMenu&) { panel.reset(); }), SizeIs(::testing::Ge(13U)));
  EXPECT_EQ(port().view(), nullptr);
}

TEST_F(TreeMenu, SurvivesTheDeathOfItsPortWhileItIsOpen) {
  select({"a"});
  pointAt("a");
  const QPoint place = view().visualRect(index("a")).center();
  const QPointer<QWidget> viewport = view().viewport();
  QTimer::singleShot(0, [this] {
    HxObjectPool::instance().remove(owner);
    owner.reset();
  });
  QContextMenuEvent event(QContextMenuEvent::Mouse, place, viewport->mapToGlobal(place));
  QApplication::sendEvent(viewport, &event);
  EXPECT_EQ(owner, nullptr);
  EXPECT_EQ(viewport, nullptr);
}

TEST_F(TreeMenu, LooksAsInThePicture) {
  select({"a", "b"});
  pointAt("b");
  QDir().mkpath(QUARN_BINARY_DIR "/screenshots");
  bool saved = false;
  entries([&](QMenu& menu) {
    saved = menu.grab().save(QUARN_BINARY_DIR "/screenshots/roi-menu.png");
    menu.close();
  });
  EXPECT_TRUE(saved);
}

class TreeMenuOfASelector : public TreePortTest {};

TEST_F(TreeMenuOfASelector, IsNotThere) {
  addMask("a");
  port().setHxRois(rois);
  showWidget();
  EXPECT_NE(view().contextMenuPolicy(), Qt::CustomContextMenu);
  EXPECT_FALSE(view().dragEnabled());
  select({"a"});
  QCursor::setPos(view().viewport()->mapToGlobal(view().visualRect(index("a")).center()));
  bool opened = false;
  QTimer::singleShot(0, [&] { opened = QApplication::activePopupWidget() != nullptr; });
  port().treeContextMenu();
  QApplication::processEvents();
  EXPECT_FALSE(opened);
}

}  // namespace
