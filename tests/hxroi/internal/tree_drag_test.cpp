#include <QApplication>
#include <QDrag>
#include <QMimeData>
#include <QMouseEvent>

#include "hxroi/internal/RoiDrop.h"
#include "tests/hxroi/internal/TreePortTest.h"
#include "tests/hxroi/internal/TreeTest.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

/// Rows dragged with the mouse in the window of a port.
class TreeDrag : public TreePortTest {
protected:
  explicit TreeDrag(Module module = HxPortRoiTreeView::ROIS_MODULE) : TreePortTest(module) {
    addMask("a");
    addMask("b");
    addGroup("G", {"m", "n"});
    addMask("c");
    port().setHxRois(rois);
    showWidget();
    view().setAnimated(false);
    view().expandAll();
    QApplication::processEvents();
  }

  enum class Part { Above, On, Below };

  /// Of a row, in the window.
  QPoint placeOf(const char* name, Part part = Part::On) {
    const QRect row = view().visualRect(index(name));
    const int y = part == Part::Above ? row.top() : part == Part::Below ? row.bottom() : row.center().y();
    return view().viewport()->mapTo(panel.get(), QPoint(row.center().x(), y));
  }

  QPoint emptyPlace() {
    return view().viewport()->mapTo(panel.get(), view().viewport()->rect().bottomRight() - QPoint(3, 3));
  }

  /// Drags the row of that name, and whatever is selected with it, and lets go. `meanwhile` runs over the target.
  void drag(const char* name, const QPoint& to, const std::function<void()>& meanwhile = {}) {
    QxRoiTreeView::setDragRunner([&](const QDrag& drag, Qt::DropActions actions) {
      ++drags;
      EXPECT_EQ(actions, Qt::MoveAction);
      EXPECT_FALSE(drag.pixmap().isNull());
      const QPoint place = view().viewport()->mapFrom(panel.get(), to);
      enter(*drag.mimeData(), actions, place);
      if (meanwhile) meanwhile();
      if (panel && owner) drop(*drag.mimeData(), actions, place);
    });
    beginDrag(name);
    QApplication::processEvents();
    if (panel && owner) sendMouse(QEvent::MouseButtonRelease, view().visualRect(index(name)).center());
    QxRoiTreeView::setDragRunner({});
  }

  /// Presses on the row, and goes on over others, as a quick hand does.
  void beginDrag(const char* name) {
    const QPoint from = view().visualRect(index(name)).center();
    sendMouse(QEvent::MouseButtonPress, from);
    for (const int way : {8, 24, 40}) sendMouse(QEvent::MouseMove, from + QPoint(0, way));
  }

  void sendMouse(QEvent::Type type, const QPoint& place) {
    const bool isHeld = type != QEvent::MouseButtonRelease;
    QMouseEvent event(type, place, view().viewport()->mapToGlobal(place), Qt::LeftButton,
                      isHeld ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(view().viewport(), &event);
  }

  // The events of a drag have a source only where there is a desktop; a view of its own rows would ask for it.

  void enter(const QMimeData& data, Qt::DropActions actions, const QPoint& place) {
    view().setDragDropMode(QAbstractItemView::DragDrop);
    QDragEnterEvent enter(place, actions, &data, Qt::LeftButton, {});
    QApplication::sendEvent(view().viewport(), &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDragMoveEvent move(place, actions, &data, Qt::LeftButton, {});
    QApplication::sendEvent(view().viewport(), &move);
  }

  void drop(const QMimeData& data, Qt::DropActions actions, const QPoint& place) {
    QDropEvent drop(place, actions, &data, Qt::LeftButton, {});
    QApplication::sendEvent(view().viewport(), &drop);
    view().setDragDropMode(QAbstractItemView::InternalMove);
  }

  std::vector<std::string> selectedNames() {
    std::vector<std::string> names;
    for (const Roi* roi : port().getSelectedRois()) names.push_back(roi->name());
    return names;
  }

  void expectTree(const std::string& text) {
    EXPECT_EQ(textOf(model()), text);
    EXPECT_EQ(textOf(*rois), text);
  }

  /// Enter, move and drop of data that no row of this view was dragged with. True when any of them was accepted.
  bool sendDrop(const QMimeData& data, const QPoint& place) {
    QDragEnterEvent enter(place, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
    QDragMoveEvent move(place, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
    QDropEvent drop(place, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
    bool accepted = false;
    for (QDropEvent* event : {static_cast<QDropEvent*>(&enter), static_cast<QDropEvent*>(&move), &drop}) {
      event->ignore();
      QApplication::sendEvent(view().viewport(), event);
      accepted = accepted || event->isAccepted();
    }
    return accepted;
  }

  int drags = 0;
};

// --- Where rows land ----------------------------------------------------------------------------------------------

TEST_F(TreeDrag, MovesBetweenRows) {
  drag("a", placeOf("c", Part::Above));
  EXPECT_EQ(drags, 1);
  expectTree("b G[m n] a c");
  EXPECT_THAT(selectedNames(), ElementsAre("a"));
  EXPECT_EQ(view().currentIndex(), index("a"));
  drag("c", placeOf("b", Part::Above));
  expectTree("c b G[m n] a");
}

TEST_F(TreeDrag, MovesOntoAGroupAndOut) {
  drag("a", placeOf("G"));
  expectTree("b G[m n a] c");
  drag("m", emptyPlace());
  expectTree("b G[n a] c m");
  drag("c", placeOf("a", Part::Above));
  expectTree("b G[n c a] m");
}

TEST_F(TreeDrag, MovesAllThatAreSelectedInTheirOrder) {
  select({"a", "b"});
  drag("b", emptyPlace());
  expectTree("G[m n] c a b");
  EXPECT_THAT(selectedNames(), ElementsAre("a", "b"));
}

TEST_F(TreeDrag, TellsTheOwnerOfTheNewSelection) {
  settle();
  drag("c", placeOf("a", Part::Above));
  EXPECT_NE(owner->newEvaluations(), 0);
  EXPECT_EQ(owner->newMarks(), 512U);
}

// --- What is refused ----------------------------------------------------------------------------------------------

TEST_F(TreeDrag, TakesNothingOntoAMask) {
  drag("a", placeOf("c"));
  EXPECT_EQ(drags, 1);
  drag("b", placeOf("m"));
  expectTree("a b G[m n] c");
}

TEST_F(TreeDrag, TakesNoGroupIntoAGroup) {
  addGroup("H", {});
  port().updateHxRois();
  drag("H", placeOf("G"));
  drag("H", placeOf("m", Part::Below));
  drag("G", placeOf("G"));
  expectTree("a b G[m n] c H[]");
}

TEST_F(TreeDrag, TakesNothingFromOutside) {
  QMimeData text;
  text.setText("a");
  EXPECT_FALSE(sendDrop(text, emptyPlace()));
  const std::unique_ptr<QMimeData> names(hxroi::draggedNames({"a"}));
  EXPECT_FALSE(sendDrop(*names, view().visualRect(index("G")).center()));
  expectTree("a b G[m n] c");
}

TEST_F(TreeDrag, DoesNotBeginOnceTheButtonIsReleased) {
  QxRoiTreeView::setDragRunner([this](const QDrag&, Qt::DropActions) { ++drags; });
  beginDrag("a");
  sendMouse(QEvent::MouseButtonRelease, view().visualRect(index("a")).center());
  QApplication::processEvents();
  QxRoiTreeView::setDragRunner({});
  EXPECT_EQ(drags, 0);
}

// --- What happens meanwhile ---------------------------------------------------------------------------------------

TEST_F(TreeDrag, DropsNoNameThatIsGone) {
  drag("a", emptyPlace(), [this] { rois->getRoi("a")->setName("other"); });
  expectTree("other b G[m n] c");
  drag("b", emptyPlace(), [this] {
    rois->removeRoi("b");
    port().updateHxRois();
  });
  expectTree("other G[m n] c");
  EXPECT_THAT(console.errors, IsEmpty());
}

TEST_F(TreeDrag, SurvivesTheDeathOfTheSet) {
  drag("a", emptyPlace(), [this] {
    HxObjectPool::instance().remove(rois);
    rois.reset();
  });
  EXPECT_EQ(drags, 1);
  EXPECT_EQ(model().rowCount(), 0);
}

TEST_F(TreeDrag, IsCancelledByTheDeathOfItsWidget) {
  drag("a", emptyPlace(), [this] { panel.reset(); });
  EXPECT_EQ(drags, 1);
  EXPECT_EQ(port().view(), nullptr);
  EXPECT_EQ(textOf(*rois), "a b G[m n] c");
}

TEST_F(TreeDrag, IsCancelledByTheDeathOfItsPort) {
  drag("a", emptyPlace(), [this] {
    HxObjectPool::instance().remove(owner);
    owner.reset();
  });
  EXPECT_EQ(drags, 1);
  EXPECT_EQ(textOf(*rois), "a b G[m n] c");
}

class TreeDragOfASelector : public TreeDrag {
protected:
  TreeDragOfASelector() : TreeDrag(HxPortRoiTreeView::SELECTOR_MODULE) {}
};

TEST_F(TreeDragOfASelector, DoesNotBegin) {
  drag("a", emptyPlace());
  EXPECT_EQ(drags, 0);
  expectTree("a b G[m n] c");
}

}  // namespace
