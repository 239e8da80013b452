#include <gmock/gmock.h>

#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/fields/HxStandardColormaps.h"
#include "quarn/kernel/ports/HxPortColorList.h"
#include "quarn/kernel/ports/HxPortColormap.h"
#include "tests/kernel/TestObjects.h"

namespace {

using ::testing::HasSubstr;

class ColorPorts : public ::testing::Test {
protected:
  ColorPorts() { HxObjectPool::instance().add(owner, "owner"); }

  template <class Port>
  static QString stateOf(const Port& port) {
    QString state;
    port.getState(state);
    return state;
  }

  HxRecordingSink sink;
  Log log;
  McHandle<TestModule> owner = new TestModule(log, "");
  HxPortColorList colors{owner, "colors", "Colors", 2};
  HxPortColormap map{owner, "map"};
  PoolCleaner cleaner;
};

TEST_F(ColorPorts, ListColoursThatAreWhiteAtTheStart) {
  EXPECT_EQ(colors.count(), 2);
  EXPECT_EQ(colors.getColor(1), McColor(1, 1, 1));
  colors.untouch();
  colors.setColor(1, McColor(1, 1, 1));
  colors.setColor(2, McColor(0, 0, 0));
  colors.setColor(-1, McColor(0, 0, 0));
  EXPECT_FALSE(colors.isNew());
  colors.setColor(1, McColor(0.1f, 0.25f, 1));
  EXPECT_TRUE(colors.isNew());
  EXPECT_EQ(colors.getColor(), McColor(1, 1, 1));
}

TEST_F(ColorPorts, ListColoursInScripts) {
  EXPECT_EQ(evaluate("owner colors setColor 0.1 0.25 1; owner colors getColor"), "0.1 0.25 1");
  EXPECT_EQ(evaluate("owner colors setColor 1 0 0.5 0; owner colors getColor 1"), "0 0.5 0");
  EXPECT_EQ(colors.getColor(0), McColor(0.1f, 0.25f, 1));
  for (const char* wrong : {"getColor 2", "getColor -1", "getColor x", "setColor 2 0 0 0", "setColor 0 0 1.5",
                            "setColor 0 0 nan", "setColor 0 0 x", "setColor 0 0"}) {
    EXPECT_THAT(evaluate(QString("owner colors ") + wrong), HasSubstr("error: ")) << wrong;
  }
  EXPECT_EQ(colors.getColor(0), McColor(0.1f, 0.25f, 1));
}

TEST_F(ColorPorts, KeepTheirColoursInTheirState) {
  colors.setColor(0, McColor(0.1f, 1.0f / 3, 1e-7f));
  const QString state = stateOf(colors);
  HxPortColorList other(owner, "other", "Other", 2);
  EXPECT_TRUE(other.setState(state));
  EXPECT_EQ(other.getColor(0), colors.getColor(0));
  EXPECT_EQ(stateOf(other), state);
  for (const char* wrong : {"", "1 1 1", "1 1 1 1 1", "1 1 1 1 1 x", "1 1 1 1 1 2", "0 0 0 1 1 1 1"}) {
    EXPECT_FALSE(other.setState(wrong)) << wrong;
  }
  EXPECT_EQ(stateOf(other), state);
}

TEST_F(ColorPorts, ConnectColormapsOnly) {
  const McHandle<HxColormap> colormap(new HxColormap);
  const McHandle<TestData> other(new TestData(log));
  EXPECT_EQ(map.colormap(), nullptr);
  EXPECT_FALSE(map.connect(other));
  map.untouch();
  EXPECT_TRUE(map.connect(colormap));
  EXPECT_EQ(map.colormap(), colormap.get());
  EXPECT_EQ(map.getNewFlags(), 1u | 8u);
}

TEST_F(ColorPorts, ConnectStandardColormapsByName) {
  EXPECT_EQ(evaluate("owner map connect viridis"), "");
  EXPECT_EQ(map.colormap(), HxStandardColormaps::instance().find("viridis"));
  EXPECT_EQ(evaluate("owner map source"), "viridis");
  EXPECT_THAT(evaluate("owner map connect rainbow"), HasSubstr("error: There is no object \"rainbow\"."));
  map.allowEditing(false);
  EXPECT_THAT(evaluate("owner map connect magma"), HasSubstr("must not be changed now"));
  EXPECT_EQ(map.colormap(), HxStandardColormaps::instance().find("viridis"));
}

TEST_F(ColorPorts, MarkWhatChanged) {
  const auto marks = [this](auto change) {
    map.untouch();
    change();
    return map.getNewFlags();
  };
  EXPECT_EQ(marks([&] { map.setLocalRange(0, 1); }), 0u);
  EXPECT_EQ(marks([&] { map.setLocalRange(-1, 1); }), 32u);
  EXPECT_EQ(marks([&] { map.setLocalRange(-1, 2); }), 32u);
  EXPECT_EQ(marks([&] { map.setLocalRangeActive(true); }), 32u);
  EXPECT_EQ(marks([&] { map.setAlphaEnabled(true); }), 0u);
  EXPECT_EQ(marks([&] { map.setAlphaEnabled(false); }), 4u);
  EXPECT_EQ(marks([&] { map.setDefaultColor(McColor(0, 0, 1)); }), 128u);
  EXPECT_EQ(marks([&] { map.setDefaultAlpha(0.5f); }), 128u);
  EXPECT_EQ(marks([&] { map.setConstantColorEnabled(false); }), 128u);
}

TEST_F(ColorPorts, TellHowAColormapIsUsedInScripts) {
  EXPECT_EQ(evaluate("owner map getMinMax"), "0 1");
  EXPECT_EQ(evaluate("owner map setMinMax -2.5 1e6; owner map getMinMax"), "-2.5 1e+06");
  EXPECT_EQ(evaluate("owner map setColor 0 0.5 1; owner map getColor"), "0 0.5 1");
  EXPECT_EQ(evaluate("owner map setAlpha 0.25; owner map getAlpha"), "0.25");
  EXPECT_EQ(evaluate("owner map isAlphaEnabled"), "1");
  EXPECT_EQ(evaluate("owner map setAlphaEnabled 0; owner map isAlphaEnabled"), "0");
  for (const char* wrong : {"setMinMax 1", "setMinMax 1 inf", "setColor 0 0 2", "setAlpha 1.5", "setAlphaEnabled 2"}) {
    EXPECT_THAT(evaluate(QString("owner map ") + wrong), HasSubstr("error: ")) << wrong;
  }
  EXPECT_EQ(map.defaultColor(), McColor(0, 0.5f, 1));
}

TEST_F(ColorPorts, KeepTheUseOfAColormapInTheirState) {
  map.setLocalRange(-1, 0.1f);
  map.setLocalRangeActive(true);
  map.setAlphaEnabled(false);
  map.setDefaultColor(McColor(1, 0.3f, 0));
  map.setDefaultAlpha(0.5f);
  HxPortColormap other(owner, "other");
  EXPECT_TRUE(other.setState(stateOf(map)));
  EXPECT_EQ(stateOf(other), stateOf(map));
  EXPECT_TRUE(other.isLocalRangeActive());
  EXPECT_FALSE(other.isAlphaEnabled());
  for (const char* wrong : {"", "1 1 0 1 1 1 1", "1 1 0 1 1 1 1 2", "1 1 0 1 1 1 2 1", "1 1 0 x 1 1 1 1"}) {
    EXPECT_FALSE(other.setState(wrong)) << wrong;
  }
  EXPECT_EQ(stateOf(other), stateOf(map));
}

TEST_F(ColorPorts, TellStandardColormapsFromObjectsOfThatName) {
  const McHandle<HxColormap> own(new HxColormap);
  HxObjectPool::instance().add(own, "viridis");
  EXPECT_EQ(evaluate("owner map connect viridis"), "");
  EXPECT_EQ(map.colormap(), own);
  EXPECT_EQ(evaluate("owner map connectStandard viridis"), "");
  EXPECT_EQ(map.colormap(), HxStandardColormaps::instance().find("viridis"));
  EXPECT_TRUE(HxStandardColormaps::instance().isStandard(map.colormap()));
  EXPECT_FALSE(HxStandardColormaps::instance().isStandard(own));
  EXPECT_THAT(evaluate("owner map connectStandard nothing"), HasSubstr("error: "));
  map.allowEditing(false);
  EXPECT_THAT(evaluate("owner map connectStandard magma"), HasSubstr("must not be changed now"));
}

}  // namespace
