#include <QImage>
#include <gmock/gmock.h>
#include <limits>

#include "quarn/base/McException.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/fields/HxStandardColormaps.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "tests/kernel/TemporaryFolder.h"
#include "tests/kernel/TestObjects.h"
#include "tests/kernel/expectMcException.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

McHandle<HxColormap> redToBlue() {
  McHandle<HxColormap> colormap(new HxColormap);
  colormap->setEntries({{McColor(1, 0, 0), 1}, {McColor(0, 1, 0), 0.5f}, {McColor(0, 0, 1), 0}});
  colormap->setMinMax(10, 20);
  return colormap;
}

std::vector<HxColormap::Entry> entriesOf(const HxColormap& colormap) {
  std::vector<HxColormap::Entry> entries;
  for (int i = 0; i < colormap.size(); ++i) entries.push_back(colormap[i]);
  return entries;
}

TEST(Colormap, RenewsItsTouchTimeWithItsContent) {
  const McHandle<HxColormap> colormap = new HxColormap;
  const auto time = colormap->getTouchTime();
  colormap->setMinMax(0, 1);
  EXPECT_EQ(colormap->getTouchTime(), time);
  colormap->setMinMax(0, 10);
  EXPECT_NE(colormap->getTouchTime(), time);
  EXPECT_THROW(colormap->setEntries({}), McException);
}

TEST(Colormap, LooksUpTheNearestEntry) {
  const McHandle<HxColormap> colormap = redToBlue();
  EXPECT_EQ(colormap->lookup(-5).color, McColor(1, 0, 0));
  EXPECT_EQ(colormap->lookup(16).color, McColor(0, 1, 0));
  EXPECT_EQ(colormap->lookup(16).alpha, 0.5f);
  EXPECT_EQ(colormap->lookup(1e30f).color, McColor(0, 0, 1));
  EXPECT_EQ(colormap->lookup(std::numeric_limits<float>::quiet_NaN()).color, McColor(1, 0, 0));
}

TEST(Colormap, ShowsItsColoursFromLeftToRight) {
  const QImage image = redToBlue()->getPixmap(32, 15, 4, false).toImage();
  ASSERT_EQ(image.size(), QSize(32, 15));
  EXPECT_EQ(image.pixelColor(0, 7), QColor(255, 0, 0));
  EXPECT_EQ(image.pixelColor(15, 7), QColor(0, 255, 0));
  EXPECT_EQ(image.pixelColor(31, 7), QColor(0, 0, 255)) << "opaque without alpha";
}

TEST(Colormap, ShowsChecksBehindTransparentColours) {
  const QImage image = redToBlue()->getPixmap(32, 15, 4, true).toImage();
  EXPECT_EQ(image.pixelColor(0, 0), QColor(255, 0, 0)) << "opaque colours hide them";
  EXPECT_EQ(image.pixelColor(31, 3), QColor(153, 153, 153));
  EXPECT_EQ(image.pixelColor(31, 4), QColor(255, 255, 255));
  EXPECT_EQ(image.pixelColor(15, 0), QColor(77, 204, 77)) << "half of what is behind shows";
  EXPECT_TRUE(redToBlue()->getPixmap(0, 15, 4, true).isNull());
}

TEST(Colormap, ComesBackFromItsFile) {
  const TemporaryFolder folder;
  const McHandle<HxColormap> saved = redToBlue();
  saved->setEntries({{McColor(0.1f, 1.0f / 3, 1e-7f), 0.7f}, {McColor(1, 1, 1), 1}});
  saved->setMinMax(-1e30f, 0.1f);
  saved->saveText(folder.file("a.colormap"));
  const McHandle<HxColormap> loaded(new HxColormap);
  loaded->loadText(folder.file("a.colormap"));
  EXPECT_EQ(entriesOf(*loaded), entriesOf(*saved));
  EXPECT_EQ(loaded->minCoord(), saved->minCoord());
  EXPECT_EQ(loaded->maxCoord(), saved->maxCoord());
}

TEST(Colormap, IsLoadedAndSavedLikeOtherObjects) {
  const TemporaryFolder folder;
  const PoolCleaner cleaner;
  HxFileTypes::instance().save(redToBlue(), "", folder.file("fire.colormap"));
  const QStringList names = HxFileTypes::instance().load(folder.file("fire.colormap"));
  ASSERT_EQ(names.size(), 1);
  const auto* loaded = dynamic_cast<HxColormap*>(HxObjectPool::instance().find(names[0]));
  ASSERT_NE(loaded, nullptr);
  EXPECT_EQ(entriesOf(*loaded), entriesOf(*redToBlue()));
}

TEST(Colormap, IsNotSavedWhereItCouldNotBeLoaded) {
  const TemporaryFolder folder;
  const McHandle<HxColormap> map = redToBlue();
  map->touch(8);
  for (const char* name : {"fire.txt", "fire", "fire.qm", "fire.csv"}) {
    const QString file = folder.file(name);
    EXPECT_EQ(textOfException([&] { HxFileTypes::instance().save(map, "", file); }),
              file.toStdString() + ": the name must end in .colormap, or the file could not be loaded again");
    EXPECT_FALSE(QFile::exists(file));
  }
  EXPECT_TRUE(map->isModified());
  EXPECT_TRUE(map->getLoadCmd().isEmpty());
  map->setEntries({{McColor(2, 0, 0), 1}});
  const QString file = folder.file("a.colormap");
  EXPECT_EQ(textOfException([&] { map->saveText(file); }),
            file.toStdString() + ": colours or range of the colormap could not be read again.");
}

TEST(Colormap, RefusesFilesThatItCannotRead) {
  const TemporaryFolder folder;
  const auto refusal = [&](const char* text) -> std::string {
    const QString file = folder.write("bad.colormap", text);
    const McHandle<HxColormap> colormap = redToBlue();
    try {
      colormap->loadText(file);
    } catch (const McException& exception) {
      EXPECT_EQ(entriesOf(*colormap), entriesOf(*redToBlue())) << "it was changed";
      return QString::fromUtf8(exception.what()).replace(file, "F").toStdString();
    }
    return "no refusal";
  };
  EXPECT_EQ(refusal(""), "F, line 1: \"\" is not \"quarn-colormap 1\".");
  EXPECT_EQ(refusal("quarn-colormap 2\n"), "F, line 1: \"quarn-colormap 2\" is not \"quarn-colormap 1\".");
  EXPECT_EQ(refusal("quarn-colormap 1\n0 0 0 1\n"), "F, line 2: \"0 0 0 1\" is not \"range\" and two numbers.");
  EXPECT_EQ(refusal("quarn-colormap 1\nrange 0 nan\n"), "F, line 2: \"range 0 nan\" is not \"range\" and two numbers.");
  EXPECT_EQ(refusal("quarn-colormap 1\nrange 0 1\n\n0 0 0 1.5\n"),
            "F, line 4: \"0 0 0 1.5\" is not a colour: four numbers from 0 to 1.");
  EXPECT_EQ(refusal("quarn-colormap 1\nrange 0 1\n0,5 0 0 1\n"),
            "F, line 3: \"0,5 0 0 1\" is not a colour: four numbers from 0 to 1.");
  EXPECT_EQ(refusal("quarn-colormap 1\nrange 0 1\n0 0 0\n"),
            "F, line 3: \"0 0 0\" is not a colour: four numbers from 0 to 1.");
  EXPECT_EQ(refusal("quarn-colormap 1\nrange 0 1\n"), "F: the colormap has no colours.");
  EXPECT_THAT(refusal((std::string("quarn-colormap 1\nrange ") + std::string(10000, 'x')).c_str()).size(),
              ::testing::Lt(300u));
}

TEST(StandardColormaps, AreNamedInOrder) {
  HxStandardColormaps& standard = HxStandardColormaps::instance();
  EXPECT_THAT(standard.names(), ElementsAre("grey", "viridis", "magma", "cividis", "turbo", "coolwarm"));
  for (const QString& name : standard.names()) {
    const HxColormap* colormap = standard.find(name);
    ASSERT_NE(colormap, nullptr);
    EXPECT_EQ(colormap->size(), 256);
    EXPECT_EQ(colormap->getLabel(), name);
    EXPECT_EQ(colormap, standard.find(name));
  }
  EXPECT_EQ(standard.find("Viridis"), nullptr);
}

double brightness(const McColor& color) {
  return 0.2126 * double{color.r} + 0.7152 * double{color.g} + 0.0722 * double{color.b};
}

TEST(StandardColormaps, GrowBrighterWhereTheyShould) {
  for (const char* name : {"grey", "viridis", "magma", "cividis"}) {
    const HxColormap& colormap = *HxStandardColormaps::instance().find(name);
    for (int i = 1; i < colormap.size(); ++i) {
      ASSERT_GT(brightness(colormap[i].color), brightness(colormap[i - 1].color)) << name << " " << i;
    }
  }
}

}  // namespace
