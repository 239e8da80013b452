#include <QApplication>
#include <QDrag>
#include <QDropEvent>
#include <QMimeData>
#include <QMouseEvent>

#include "tests/hxroi/internal/TreePortTest.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

/// Drags begun with the mouse in the tree of a set, and ended by the events that the window system sends.
class TreeDrag : public TreePortTest {
protected:
  TreeDrag() : TreePortTest(HxPortRoiTreeView::ROIS_MODULE) {
    addMask("a");
    addGroup("G", {"m", "n"});
    addMask("b");
    addGroup("H", {});
    port().setHxRois(rois);
    showWidget();
    view().expandAll();
    QApplication::processEvents();
  }

  QWidget* viewport() { return view().viewport(); }

  void sendMouse(QEvent::Type type, QPoint place, Qt::MouseButtons buttons) {
    QMouseEvent event(type, place, viewport()->mapToGlobal(QPointF(place)), Qt::LeftButton, buttons, Qt::NoModifier);
    QApplication::sendEvent(viewport(), &event);
  }

  enum Where { Above, On, Below };

  QPoint placeOf(const char* name, Where where) {
    const QRect row = view().visualRect(index(name));
    const int y = where == Above ? row.top() : where == Below ? row.bottom() : row.center().y();
    return {row.left() + 4, y};
  }

  /// Drags the selected rows, begun on `name`, to `place`. False when the view takes no drop there.
  bool drag(const char* name, QPoint place) {
    bool taken = false;
    dragFrom(placeOf(name, On), [&] { taken = drop(place); });
    sendMouse(QEvent::MouseButtonRelease, place, Qt::NoButton);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return taken;
  }

  /// Begins a drag at `start` and calls `meanwhile` during it. A platform without window system does not wait for the
  /// end of a drag, it only tells that it cannot drag; that is when there is one.
  void dragFrom(QPoint start, std::function<void()> meanwhile) {
    duringDrag() = std::move(meanwhile);
    const QtMessageHandler former =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) {
          if (text == "Unimplemented code." && duringDrag()) std::exchange(duringDrag(), {})();
        });
    sendMouse(QEvent::MouseButtonPress, start, Qt::LeftButton);
    sendMouse(QEvent::MouseMove, start + QPoint(40, 3), Qt::LeftButton);
    sendMouse(QEvent::MouseMove, start + QPoint(60, 5), Qt::LeftButton);
    qInstallMessageHandler(former);
    EXPECT_FALSE(duringDrag()) << "no drag has begun";
  }

  static std::function<void()>& duringDrag() {
    static std::function<void()> function;
    return function;
  }

  bool drop(QPoint place) {
    const auto* dragging = view().findChild<QDrag*>();
    if (!dragging) {
      ADD_FAILURE() << "no drag has begun";
      return false;
    }
    const QMimeData* data = dragging->mimeData();
    QDragEnterEvent enter(place, Qt::MoveAction, data, Qt::LeftButton, Qt::NoModifier);
    QDragMoveEvent move(place, Qt::MoveAction, data, Qt::LeftButton, Qt::NoModifier);
    QDropEvent event(place, Qt::MoveAction, data, Qt::LeftButton, Qt::NoModifier);
    EXPECT_EQ(event.source(), &view());
    return send(enter) && send(move) && send(event);
  }

  /// Without a window system no action is proposed.
  bool send(QDropEvent& event) {
    event.setDropAction(Qt::MoveAction);
    event.ignore();
    QApplication::sendEvent(viewport(), &event);
    return event.isAccepted();
  }

  std::vector<std::string> membersOf(const char* name) {
    std::vector<std::string> names;
    for (const Mask& mask : *rois->getGroup(name)) names.push_back(mask.name());
    return names;
  }

  std::vector<std::string> selected() {
    std::vector<std::string> names;
    for (const Roi* roi : port().getSelectedRois()) names.push_back(roi->name());
    return names;
  }
};

TEST_F(TreeDrag, MovesAMaskBetweenRows) {
  select({"b"});
  EXPECT_TRUE(drag("b", placeOf("a", Above)));
  EXPECT_THAT(topLevelNames(), ElementsAre("b", "a", "G", "H"));
  EXPECT_THAT(selected(), ElementsAre("b"));
  EXPECT_EQ(view().currentIndex(), index("b"));
}

TEST_F(TreeDrag, MovesAMaskIntoAGroup) {
  select({"a"});
  EXPECT_TRUE(drag("a", placeOf("H", On)));
  EXPECT_THAT(topLevelNames(), ElementsAre("G", "b", "H"));
  EXPECT_THAT(membersOf("H"), ElementsAre("a"));
}

TEST_F(TreeDrag, MovesAMaskOutOfItsGroup) {
  select({"m"});
  EXPECT_TRUE(drag("m", placeOf("b", Above)));
  EXPECT_THAT(topLevelNames(), ElementsAre("a", "G", "m", "b", "H"));
  EXPECT_THAT(membersOf("G"), ElementsAre("n"));
}

TEST_F(TreeDrag, MovesSeveralInTheirOrder) {
  select({"a", "b"});
  EXPECT_TRUE(drag("a", placeOf("n", Above)));
  EXPECT_THAT(membersOf("G"), ElementsAre("m", "a", "b", "n"));
  EXPECT_THAT(selected(), ::testing::UnorderedElementsAre("a", "b"));
}

TEST_F(TreeDrag, PutsNothingIntoAMask) {
  select({"a"});
  drag("a", placeOf("b", On));
  EXPECT_THAT(topLevelNames(), ElementsAre("a", "G", "b", "H"));
  EXPECT_THAT(console.errors, IsEmpty());
}

TEST_F(TreeDrag, PutsNoGroupIntoAGroup) {
  select({"G"});
  drag("G", placeOf("H", On));
  EXPECT_THAT(topLevelNames(), ElementsAre("a", "G", "b", "H"));
  EXPECT_THAT(membersOf("H"), IsEmpty());
}

TEST_F(TreeDrag, ToEmptySpaceAppends) {
  select({"G"});
  EXPECT_TRUE(drag("G", viewport()->rect().bottomLeft() + QPoint(20, -3)));
  EXPECT_THAT(topLevelNames(), ElementsAre("a", "b", "H", "G"));
}

TEST_F(TreeDrag, OfAGroupKeepsItsMasks) {
  select({"G"});
  EXPECT_TRUE(drag("G", placeOf("a", Above)));
  EXPECT_THAT(topLevelNames(), ElementsAre("G", "a", "b", "H"));
  EXPECT_THAT(membersOf("G"), ElementsAre("m", "n"));
}

TEST_F(TreeDrag, SurvivesTheDeathOfTheSetUnderIt) {
  select({"a"});
  const QPoint start = placeOf("a", On);
  dragFrom(start, [&] {
    HxObjectPool::instance().remove(rois);
    rois.reset();
    drop(start);
  });
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_EQ(model().rowCount(), 0);
}

TEST_F(TreeDrag, OfSomethingElseIsNotTaken) {
  QMimeData data;
  data.setData("application/vnd.text.list", QByteArray("\0\0\0\2\0a", 6));
  const QPoint place = placeOf("H", On);
  QDragEnterEvent enter(place, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(viewport(), &enter);
  QDragMoveEvent move(place, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(viewport(), &move);
  QDropEvent event(place, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(viewport(), &event);
  EXPECT_THAT(topLevelNames(), ElementsAre("a", "G", "b", "H"));
}

}  // namespace
