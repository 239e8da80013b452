#include <QApplication>
#include <QDialogButtonBox>
#include <QDir>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>

#include "hxroi/HxRoisColorInformation.h"
#include "hxroi/detail/SetPlace.h"
#include "hxroi/internal/QxRoiTreeItemDelegate.h"
#include "hxroi/internal/QxRoiTreeViewActionSet.h"
#include "hxroi/internal/roiToolTip.h"
#include "quarn/kernel/fields/HxStandardColormaps.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "quarn/kernel/widgets/QxParamDialog.h"
#include "quarn/kernel/widgets/QxPropertyArea.h"
#include "tests/hxroi/internal/TreePortTest.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

class TreeWidget : public TreePortTest {
protected:
  TreeWidget() : TreePortTest(HxPortRoiTreeView::ROIS_MODULE) {
    addMask("a");
    addGroup("G", {"m", "n"});
    addMask("b");
    port().setHxRois(rois);
  }

  static std::vector<std::string> namesOf(const McDArray<Roi*>& rois) {
    std::vector<std::string> names;
    for (const Roi* roi : rois) names.push_back(roi->name());
    return names;
  }
};

TEST_F(TreeWidget, IsMadeForWholeRowsOfWhichSeveralAreSelected) {
  showWidget();
  EXPECT_EQ(view().selectionBehavior(), QAbstractItemView::SelectRows);
  EXPECT_EQ(view().selectionMode(), QAbstractItemView::ExtendedSelection);
  EXPECT_TRUE(view().uniformRowHeights());
  EXPECT_TRUE(view().isAnimated());
  EXPECT_EQ(view().sizePolicy(), QSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding));
  EXPECT_EQ(view().contextMenuPolicy(), Qt::CustomContextMenu);
  EXPECT_TRUE(view().dragEnabled());
  EXPECT_EQ(view().dragDropMode(), QAbstractItemView::InternalMove);
  EXPECT_NE(qobject_cast<QxRoiTreeItemDelegate*>(view().itemDelegate()), nullptr);
  EXPECT_EQ(view().model(), &model());
  port().setMinimumHeight(230);
  EXPECT_EQ(view().minimumHeight(), 230);
  showWidget();
  EXPECT_EQ(view().minimumHeight(), 230) << "also of the next widget";
}

TEST_F(TreeWidget, StretchesItsLastColumnAtFirstAndItsFirstOneWhenTheModelIsMadeAnew) {
  showWidget();
  const QHeaderView& header = *view().header();
  EXPECT_EQ(header.defaultAlignment(), Qt::AlignLeft);
  EXPECT_TRUE(header.stretchLastSection());
  EXPECT_EQ(header.sectionResizeMode(0), QHeaderView::Interactive);
  EXPECT_EQ(header.sectionResizeMode(1), QHeaderView::ResizeToContents);
  port().updateModel();
  EXPECT_FALSE(header.stretchLastSection());
  EXPECT_EQ(header.sectionResizeMode(0), QHeaderView::Stretch);
  EXPECT_EQ(header.sectionResizeMode(1), QHeaderView::ResizeToContents);
}

TEST_F(TreeWidget, MayBeMadeBeforeThereIsASet) {
  const McHandle<TreeOwner> empty(new TreeOwner(HxPortRoiTreeView::SELECTOR_MODULE));
  QWidget window;
  empty->port.createWidget(&window);
  ASSERT_NE(empty->port.view(), nullptr);
  empty->port.setHxRois(rois);
  EXPECT_EQ(empty->port.view()->model()->rowCount(), 3);
}

TEST_F(TreeWidget, TakesThePlaceThatOtherPortsLeave) {
  QxPropertyArea area;
  area.resize(460, 800);
  area.setObject(rois);
  area.show();
  QApplication::processEvents();
  EXPECT_GT(rois->portRoiVisibility.view()->height(), 400);
}

TEST_F(TreeWidget, TellsOfASelectionOnce) {
  showWidget();
  port().updateModel();
  port().updateModel();
  settle();
  port().setRoiSelected(true, "a");
  EXPECT_EQ(owner->newEvaluations(), 1);
  EXPECT_EQ(owner->newMarks(), 512U);
  port().setRoiSelected(true, "a");
  EXPECT_EQ(owner->newEvaluations(), 0) << "it was selected already";
}

TEST_F(TreeWidget, KnowsWhatIsSelected) {
  showWidget();
  port().setRoiSelected(true, "b");
  port().setRoiSelected(true, "m");
  port().setRoiSelected(true, "unknown");
  EXPECT_THAT(namesOf(port().getSelectedRois()), ElementsAre("b", "m"));
  EXPECT_TRUE(port().isRoiSelected("m"));
  EXPECT_FALSE(port().isRoiSelected("a"));
  EXPECT_FALSE(port().isRoiSelected("unknown"));
  port().setRoiSelected(false, "b");
  EXPECT_THAT(namesOf(port().getSelectedRois()), ElementsAre("m"));
}

TEST_F(TreeWidget, TellsOfEditsByTheirColumn) {
  showWidget();
  settle();
  EXPECT_TRUE(model().setData(index("a"), "x"));
  EXPECT_EQ(owner->newMarks(), 1024U);
  EXPECT_EQ(owner->newEvaluations(), 1);
  EXPECT_TRUE(model().setData(index("x", 1), QColor(Qt::red)));
  EXPECT_EQ(owner->newMarks(), 128U);
  EXPECT_EQ(owner->newEvaluations(), 1);
  Q_EMIT model().dataChanged(index("x", 2), index("x", 2));
  Q_EMIT model().dataChanged(index("x", 0), index("x", 1));
  Q_EMIT model().dataChanged(index("x", 0), index("b", 0));
  EXPECT_EQ(owner->newEvaluations(), 0) << "other columns and ranges";
}

TEST_F(TreeWidget, RepeatsTheNewsOfItsModel) {
  showWidget();
  std::vector<std::string> news;
  QObject::connect(&view(), &QxRoiTreeView::viewRowsInserted, [&](const QModelIndex&, int first, int last) {
    news.push_back("inserted " + std::to_string(first) + " " + std::to_string(last));
  });
  QObject::connect(&view(), &QxRoiTreeView::viewRowsRemoved, [&](const QModelIndex&, int first, int last) {
    news.push_back("removed " + std::to_string(first) + " " + std::to_string(last));
  });
  QObject::connect(&view(), &QxRoiTreeView::viewDataChanged, [&](const QModelIndex& first, const QModelIndex&) {
    news.push_back("changed " + std::to_string(first.row()));
  });
  port().updateModel();
  addMask("c");
  port().updateHxRois();
  rois->removeRoi("a");
  port().updateHxRois();
  model().setData(index("b"), "x");
  EXPECT_THAT(news, ElementsAre("inserted 3 3", "removed 0 0", "changed 1"));
}

TEST_F(TreeWidget, KeepsSelectionAndExpansionOfRowsThatStay) {
  showWidget();
  view().expand(index("G"));
  port().setRoiSelected(true, "n");
  rois->removeRoi("a");
  addMask("c");
  port().updateHxRois();
  EXPECT_THAT(namesOf(port().getSelectedRois()), ElementsAre("n"));
  EXPECT_TRUE(view().isExpanded(index("G")));
  EXPECT_TRUE(view().updatesEnabled());
}

TEST_F(TreeWidget, MayBeDestroyedAndMadeAgain) {
  showWidget();
  port().setRoiSelected(true, "a");
  panel.reset();
  EXPECT_EQ(port().view(), nullptr);
  EXPECT_TRUE(port().getSelectedRois().isEmpty());
  EXPECT_FALSE(port().isRoiSelected("a"));
  port().setRoiSelected(true, "a");
  port().treeContextMenu();
  addMask("c");
  port().updateHxRois();
  port().updateModel();
  port().setMinimumHeight(100);
  showWidget();
  EXPECT_EQ(view().model()->rowCount(), 4);
  settle();
  port().setRoiSelected(true, "c");
  EXPECT_EQ(owner->newEvaluations(), 1);
  port().createWidget(panel.get());
  EXPECT_TRUE(port().getSelectedRois().isEmpty()) << "another view";
}

TEST_F(TreeWidget, HearsOfAChangeOnceWithANewView) {
  showWidget();
  port().createWidget(panel.get());
  settle();
  model().setData(index("a"), "x");
  EXPECT_EQ(owner->newEvaluations(), 1);
}

TEST_F(TreeWidget, KeepsAnOpenDialogThroughANewView) {
  showWidget();
  select({"a", "b"});
  port().actionSet()->editSelectedRoiParameters();
  const QPointer<QxParamDialog> dialog = port().actionSet()->paramDialog();
  dialog->bundle()->set("size", 5);
  panel.reset();
  showWidget();
  ASSERT_FALSE(dialog.isNull());
  EXPECT_TRUE(dialog->isVisible());
  dialog->buttonBox()->button(QDialogButtonBox::Ok)->click();
  EXPECT_EQ(rois->getRoi("a")->intProperty("size", false), 5);
  EXPECT_EQ(rois->getRoi("b")->intProperty("size", false), 5);
  EXPECT_EQ(port().actionSet()->view(), &view()) << "and the commands work on the new view";
}

TEST_F(TreeWidget, LetsGoOfAForeignModel) {
  showWidget();
  QxRoiTreeModel other(nullptr, QxRoiTreeModel::FULL_MODULE);
  port().setModel(&other);
  port().setRoiSelected(true, "a");
  port().setModel(nullptr);
  EXPECT_NE(view().model(), &other);
  EXPECT_TRUE(port().getSelectedRois().isEmpty());
  settle();
  other.setData(other.indexFromName("a"), "x");
  port().treeContextMenu();
  EXPECT_EQ(owner->newEvaluations(), 0);
}

TEST_F(TreeWidget, FollowsAnotherModel) {
  showWidget();
  port().setRoiSelected(true, "a");
  QxRoiTreeModel other(nullptr, QxRoiTreeModel::FULL_MODULE);
  port().setModel(&other);
  EXPECT_EQ(view().model(), &other);
  settle();
  port().setRoiSelected(true, "b");
  EXPECT_EQ(owner->newEvaluations(), 1);
  other.setData(other.indexFromName("b"), "x");
  EXPECT_EQ(owner->newEvaluations(), 1);
}

TEST_F(TreeWidget, IsEmptyWhenTheSetDiesWhileANameIsEdited) {
  showWidget();
  view().edit(index("a"));
  auto* line = view().findChild<QLineEdit*>();
  ASSERT_NE(line, nullptr);
  line->setText("half a name");
  HxObjectPool::instance().remove(rois);
  rois.reset();
  QApplication::processEvents();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_EQ(view().model()->rowCount(), 0);
  EXPECT_EQ(view().findChild<QLineEdit*>(), nullptr);
}

TEST_F(TreeWidget, MayBeDestroyedWhileANameIsEdited) {
  showWidget();
  view().edit(index("a"));
  ASSERT_NE(view().findChild<QLineEdit*>(), nullptr);
  panel.reset();
  EXPECT_THAT(topLevelNames(), ElementsAre("a", "G", "b"));
}

TEST_F(TreeWidget, ShowsThePortsOfTheRoiThatIsSelectedAlone) {
  rois->fire();
  panel = std::make_unique<QWidget>();
  rois->portRoiVisibility.createWidget(panel.get());
  const auto visible = [this] {
    std::vector<std::string> names;
    for (const HxPort* each : rois->ports())
      if (each->isVisible() && each->getName().startsWith("color")) names.push_back(each->getName().toStdString());
    return names;
  };
  rois->portRoiVisibility.setRoiSelected(true, "a");
  EXPECT_THAT(visible(), ElementsAre("colormap-a", "color-a"));
  EXPECT_EQ(HxObjectPool::instance().selectedPort(), rois->findPort("colormap-a"));
  rois->portRoiVisibility.setRoiSelected(true, "b");
  EXPECT_THAT(visible(), IsEmpty());
  rois->portRoiVisibility.setRoiSelected(false, "a");
  EXPECT_THAT(visible(), ElementsAre("colormap-b", "color-b"));
  rois->getMask("b")->setName("x");
  EXPECT_THAT(visible(), ElementsAre("colormap-x", "color-x"));
  rois->portRoiVisibility.setRoiSelected(false, "x");
  EXPECT_THAT(visible(), IsEmpty()) << "the ports of a renamed ROI are still known";
  rois->portRoiVisibility.setRoiSelected(true, "x");
  addMask("c");
  rois->fire();
  EXPECT_THAT(visible(), ElementsAre("colormap-x", "color-x")) << "made anew";
  HxObjectPool::instance().select(rois);
  EXPECT_THAT(visible(), ElementsAre("colormap-x", "color-x"));
  rois->removeRoi("x");
  rois->fire();
  EXPECT_THAT(visible(), IsEmpty());
}

TEST_F(TreeWidget, RedrawsNamesAndColoursThatScriptsChange) {
  rois->fire();
  panel = std::make_unique<QWidget>();
  rois->portRoiVisibility.createWidget(panel.get());
  panel->resize(400, 300);
  rois->portRoiVisibility.frame()->resize(400, 300);
  panel->show();
  QApplication::processEvents();
  const QImage before = panel->grab().toImage();
  rois->getMask("a")->setColor(McColor(0, 1, 0));
  rois->fire();
  QApplication::processEvents();
  EXPECT_NE(panel->grab().toImage(), before);
}

TEST_F(TreeWidget, RenamesAThousandTimesWithoutDelay) {
  rois->fire();
  panel = std::make_unique<QWidget>();
  rois->portRoiVisibility.createWidget(panel.get());
  panel->show();
  QElapsedTimer timer;
  timer.start();
  for (int i = 0; i < 1000; ++i) {
    rois->getMask(i % 2 ? "x" : "a")->setName(i % 2 ? "a" : "x");
    rois->fire();
    QApplication::processEvents();
  }
  RecordProperty("milliseconds", static_cast<int>(timer.elapsed()));
  EXPECT_LT(timer.elapsed(), 10000);
}

TEST_F(TreeWidget, TellsWhatCanBeToldAtOnce) {
  fill(*rois->getMask("a"), {1, 2, 3}, {4, 5, 2});
  EXPECT_EQ(hxroi::roiToolTip(*model().treeItemFromName("a")), "a\nmask of 13 x 11 x 7 voxels\n40 voxels set");
  const McHandle<HxUniformScalarField3> field(new HxUniformScalarField3(McDim3l(13, 11, 7), McPrimType::Float));
  field->setBoundingBox(McBox3f(0, 24, 0, 20, 0, 12));
  ASSERT_TRUE(rois->portData.connect(field));
  EXPECT_EQ(hxroi::roiToolTip(*model().treeItemFromName("a")),
            QString("a\nmask of 13 x 11 x 7 voxels\n40 voxels set, 320 mm") + QChar(0xB3));
  rois->portData.disconnect();
  hxroi::storePlace(HxGeometry3{{}, {1, 2, 3}, {1, 0, 0, 0, 0, 1, 0, 1, 0}}, McDim3l(13, 11, 7), rois->parameters);
  EXPECT_EQ(hxroi::roiToolTip(*model().treeItemFromName("a")),
            QString("a\nmask of 13 x 11 x 7 voxels\n40 voxels set, 240 mm") + QChar(0xB3))
      << "what a set remembers";
  EXPECT_EQ(hxroi::roiToolTip(*model().treeItemFromName("G")), "G\ngroup of 2 masks\nm, n");
  EXPECT_EQ(hxroi::roiToolTip(*model().getRoot()), "");
}

TEST_F(TreeWidget, CountsNoVoxelsOfAHugeMask) {
  rois->removeAllRois();
  addMask("huge", {4000, 4000, 4000});
  port().updateModel();
  QElapsedTimer timer;
  timer.start();
  const QString text = hxroi::roiToolTip(*model().treeItemFromName("huge"));
  EXPECT_LT(timer.elapsed(), 1000);
  EXPECT_EQ(text.split('\n').value(1), "mask of 4000 x 4000 x 4000 voxels");
}

// --- Pictures to be looked at -------------------------------------------------------------------------------------

class TreePicture : public TreePortTest {
protected:
  TreePicture() {
    const struct {
      const char* name;
      McColor color;
    } masks[]{{"Liver", {0.75F, 0.35F, 0.25F}}, {"Spleen", {0.55F, 0.2F, 0.45F}}, {"Pancreas", {0.95F, 0.8F, 0.4F}}};
    for (const auto& mask : masks) addMask(mask.name)->setColor(mask.color);
    addGroup("Kidneys", {"Kidney-left", "Kidney-right"})->setColor(McColor(0.3F, 0.6F, 0.35F));
    rois->getMask("Liver")->setColormap(HxStandardColormaps::instance().find("viridis"));
    rois->getGroup("Kidneys")->setColormap(HxStandardColormaps::instance().find("magma"));
    rois->fire();
  }

  static void save(QWidget& widget, const char* name) {
    const QString folder = QStringLiteral(QUARN_BINARY_DIR "/screenshots");
    QDir().mkpath(folder);
    QApplication::processEvents();
    EXPECT_TRUE(widget.grab().save(folder + "/" + name));
  }
};

TEST_F(TreePicture, OfTheSet) {
  QxPropertyArea area;
  area.resize(460, 520);
  area.setObject(rois);
  area.show();
  rois->portRoiVisibility.view()->setAnimated(false);
  rois->portRoiVisibility.view()->expand(rois->portRoiVisibility.getModel()->indexFromName("Kidneys"));
  rois->portRoiVisibility.setRoiSelected(true, "Liver");
  QApplication::processEvents();
  save(area, "roi-set.png");
  EXPECT_NE(area.findChild<QxRoiTreeView*>("tree"), nullptr);
}

TEST_F(TreePicture, OfASelector) {
  port().setHxRois(rois);
  QxPropertyArea area;
  area.resize(460, 320);
  area.setObject(owner);
  area.show();
  view().setAnimated(false);
  view().expand(index("Kidneys"));
  port().setRoiVisible(false, "Spleen");
  port().setRoiVisible(false, "Kidney-left");
  save(area, "roi-selector.png");
}

}  // namespace

TEST_F(TreeWidget, KeepsThePortsOfTheSelectedRoiInSightWhenAnotherOneIsRenamed) {
  QxPropertyArea area;
  area.resize(400, 500);
  area.show();
  area.setObject(rois);
  rois->fire();
  const auto isInSight = [&] {
    QApplication::processEvents();
    const HxPort* port = rois->findPort("color-b");
    return port && port->isVisible() && port->frame() && port->frame()->isVisible();
  };
  rois->portRoiVisibility.setRoiSelected(true, "b");
  ASSERT_TRUE(isInSight());
  const auto error = HxInterpreter::instance().evaluate(rois->getName() + " renameRoi a z");
  ASSERT_FALSE(error) << error->toText().toStdString() << console.consoleText();
  EXPECT_TRUE(isInSight());
  EXPECT_THAT(namesOf(rois->portRoiVisibility.getSelectedRois()), ElementsAre("b"));
}

TEST_F(TreeWidget, LeavesColoursInSightBesideLongNames) {
  addMask(std::string(200, 'n'));
  QxPropertyArea area;
  area.resize(400, 500);
  area.setObject(rois);
  area.show();
  rois->fire();
  QApplication::processEvents();
  const QTreeView& tree = *rois->portRoiVisibility.view();
  const auto expectFit = [&tree] {
    EXPECT_LE(tree.header()->length(), tree.viewport()->width());
    EXPECT_GE(tree.columnWidth(0), 80);
  };
  expectFit();
  area.resize(320, 500);
  QApplication::processEvents();
  expectFit();
  addMask(std::string(250, 'm'));
  rois->fire();
  QApplication::processEvents();
  expectFit();
}
