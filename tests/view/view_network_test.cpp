#include <QTemporaryDir>
#include <gmock/gmock.h>

#include "quarn/base/McException.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/io/HxFieldFile.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/network/HxNetwork.h"
#include "quarn/view/SceneCamera.h"
#include "quarn/view/SceneText.h"
#include "tests/view/ViewTest.h"

using quarn::view::imageSettings;
using quarn::view::textOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

class ViewNetwork : public ViewTest {
protected:
  ViewNetwork() { HxObjectPool::instance().remove(masks); }

  QString file(const char* name) const { return folder_.filePath(QLatin1String(name)); }

  /// An image in the pool that comes from a file.
  HxUniformScalarField3* loadImage(const char* name, int offset) {
    const McHandle<HxUniformScalarField3> field(new HxUniformScalarField3({16, 16, 16}, McPrimType::Uint8));
    for (int z = 0; z < 16; ++z)
      for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) field->setValue(x, y, z, (offset + 7 * x + 3 * y + z) % 200);
    HxFieldFile::save(*field, file(name));
    const QStringList names = HxFileTypes::instance().load(file(name));
    return dynamic_cast<HxUniformScalarField3*>(HxObjectPool::instance().find(names.front()));
  }

  static HxSceneView& viewNamed(const char* name) {
    auto* found = dynamic_cast<HxSceneView*>(HxObjectPool::instance().find(QLatin1String(name)));
    if (!found) throw McException("there is no such view");
    return *found;
  }

  /// The view shows two images in its own way.
  void showImages() {
    HxUniformScalarField3* first = loadImage("a.field.qm", 0);
    HxUniformScalarField3* second = loadImage("b.field.qm", 50);
    view->show(first);
    view->show(second);
    view->setColormap(second, quarn::view::colormapNamed(QStringLiteral("grey")), std::pair(10.5, 90.0));
    view->setVolumeMode(first, quarn::view::volumeMode(QStringLiteral("slices")));
    view->camera().azimuth(30);
    view->camera().zoomBy(1.3);
    view->setSlice(2, 3);
    view->setBackground(McColor(0.1f, 0.2f, 0.3f));
    view->setMarks(true);
    view->setLayout(QStringLiteral("four"));
  }

private:
  const QTemporaryDir folder_;
};

}  // namespace

TEST_F(ViewNetwork, BringsThePictureBack) {
  showImages();
  const QStringList names = view->shownNames();
  const QImage before = view->paint(200, 160);
  HxNetwork::save(file("n.quarn"));
  HxObjectPool::instance().clear();
  HxNetwork::load(file("n.quarn"));
  HxSceneView& loaded = viewNamed("view");
  EXPECT_EQ(names, loaded.shownNames());
  EXPECT_EQ("four", loaded.layout().toStdString());
  EXPECT_EQ(3, loaded.slice(2));
  EXPECT_EQ(8, loaded.slice(0));
  EXPECT_EQ(before, loaded.paint(200, 160));
}

TEST_F(ViewNetwork, ShowsTheObjectsOfTheNetworkUnderTheirNewNames) {
  showImages();
  HxNetwork::save(file("n.quarn"));
  HxNetwork::load(file("n.quarn"));
  const QStringList first = view->shownNames(), second = viewNamed("view2").shownNames();
  ASSERT_EQ(2, second.size());
  EXPECT_FALSE(first.contains(second[0])) << second[0].toStdString();
}

TEST_F(ViewNetwork, PassesOverWhatDidNotComeBack) {
  showImages();
  HxNetwork::save(file("n.quarn"));
  HxObjectPool::instance().clear();
  ASSERT_TRUE(QFile::remove(file("a.field.qm")));
  EXPECT_THROW(HxNetwork::load(file("n.quarn")), McException);
  EXPECT_EQ(1, viewNamed("view").shownNames().size());
}

TEST_F(ViewNetwork, SettingsOfImagesAreTexts) {
  for (const char* text : {"auto - - -", "off grey - -", "rendered grey -1.5 2e+20", "slices - 0 1"})
    EXPECT_EQ(text, textOf(imageSettings(QLatin1String(text))).toStdString());
  for (const char* text : {"", "auto", "auto - - - -", "cloud - - -", "auto nosuch - -", "auto - 1 -", "auto - a b",
                           "auto - nan 1", "auto - 1 inf"})
    EXPECT_THROW(imageSettings(QLatin1String(text)), McException) << text;
}

TEST_F(ViewNetwork, UnknownStatesChangeNothing) {
  HxPort* picture = view->findPort(QStringLiteral("picture"));
  ASSERT_NE(nullptr, picture);
  EXPECT_FALSE(picture->isVisible());
  QString before, after;
  picture->getState(before);
  for (const char* state : {"", "column", "nosuch 1 0 0 0 - - - 0 -1 0 0 0 1 1", "column 2 0 0 0 - - - 0 -1 0 0 0 1 1",
                            "column 1 0 0 9 - - - 0 -1 0 0 0 1 1", "column 1 0 0 0 - -1 - 0 -1 0 0 0 1 1",
                            "column 1 0 0 0 - x - 0 -1 0 0 0 1 1", "column 1 0 0 0 - - - 0 -1 0"})
    EXPECT_FALSE(picture->setState(QLatin1String(state))) << state;
  picture->getState(after);
  EXPECT_EQ(before, after);
  EXPECT_TRUE(picture->setState(before));
}

TEST_F(ViewTest, KeepsItsLatticeWhileAllMasksAreHidden) {
  masks->add(QStringLiteral("ball"), RED, ball(32, 32, 32, 10));
  view->show(masks);
  view->setSlice(2, 60);
  masks->named(QStringLiteral("ball")).isVisible = false;
  view->paint(64, 64);
  EXPECT_EQ(60, view->slice(2));
  view->setSlice(2, 50);
  EXPECT_EQ(50, view->slice(2));
  view->hide(masks);
  EXPECT_THROW(view->setSlice(2, 50), McException);
}
