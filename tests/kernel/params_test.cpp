#include <clocale>
#include <gmock/gmock.h>
#include <limits>

#include "quarn/kernel/params/HxParamBundle.h"
#include "tests/kernel/TestObjects.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

TEST(ParamName, KeepsLettersDigitsUnderscoreAndDash) {
  EXPECT_EQ(HxParameter("Left_Lobe-2", "").name(), "Left_Lobe-2");
  EXPECT_EQ(HxParameter("007", "").name(), "007");
  EXPECT_EQ(HxParameter("", "").name(), "");
  EXPECT_EQ(HxParameter("a b.c/d", "").name(), "a_b_c_d");
  EXPECT_EQ(HxParameter("\xe9t\xe9", "").name(), "_t_");
  EXPECT_EQ(HxParamBundle("Left Lobe").name(), "Left_Lobe");
}

TEST(ParamName, IsLockedByItsFlag) {
  HxParamBundle bundle("one");
  bundle.setFlag(32, true);
  EXPECT_FALSE(bundle.setName("two"));
  EXPECT_EQ(bundle.name(), "one");
  bundle.setFlag(32, false);
  EXPECT_TRUE(bundle.setName("two"));
  EXPECT_EQ(bundle.name(), "two");
}

TEST(ParamFlags, AreAskedForTogether) {
  HxParameter id("Id", "x");
  EXPECT_FALSE(id.getFlag(102));
  id.setFlag(64, true);
  EXPECT_FALSE(id.getFlag(102));
  id.setFlag(102, true);
  EXPECT_TRUE(id.getFlag(102));
  EXPECT_TRUE(id.getFlag(HxParamBase::NameLocked));
  id.setFlag(2, false);
  EXPECT_FALSE(id.getFlag(102));
  EXPECT_TRUE(id.getFlag(32));
}

TEST(Parameter, KeepsTheTypeOfItsValue) {
  using Type = HxParameter::Type;
  EXPECT_EQ(HxParameter("a", "5").type(), Type::Text);
  EXPECT_EQ(HxParameter("a", std::string("5")).type(), Type::Text);
  EXPECT_EQ(HxParameter("a", 5).type(), Type::Integer);
  EXPECT_EQ(HxParameter("a", 5.0f).type(), Type::Real);
  EXPECT_EQ(HxParameter("a", 5.0).type(), Type::Real);
  EXPECT_EQ(HxParameter("a", std::vector{5.0}).type(), Type::Reals);
}

TEST(Parameter, PrintsSoThatItReadsBackExactlyInAnyLocale) {
  const std::string former = std::setlocale(LC_ALL, nullptr);
  std::setlocale(LC_ALL, "de_DE.UTF-8");
  EXPECT_EQ(HxParameter("a", 3.0).print(), "3.0");
  EXPECT_EQ(HxParameter("a", 0.1).print(), "0.1");
  EXPECT_EQ(HxParameter("a", 1e300).print(), "1e+300");
  EXPECT_EQ(HxParameter("a", std::numeric_limits<double>::quiet_NaN()).print(), "nan");
  EXPECT_EQ(HxParameter("a", std::numeric_limits<std::int64_t>::min()).print(), "-9223372036854775808");
  EXPECT_EQ(HxParameter("a", std::vector{1.0, 0.5}).print(), "1.0 0.5");
  EXPECT_EQ(HxParameter("a", "text").print(), "text");
  std::setlocale(LC_ALL, former.c_str());
}

TEST(ParamBundle, FindsByTypeAndLeavesOtherValuesAlone) {
  HxParamBundle bundle;
  bundle.set("int", 7);
  bundle.set("real", 2.5);
  bundle.set("text", "seven");
  bundle.set("big", std::int64_t{1} << 40);
  bundle.getBundle("sub");

  float real = -1;
  EXPECT_TRUE(bundle.findReal("int", real));
  EXPECT_EQ(real, 7);
  EXPECT_TRUE(bundle.findReal("real", real));
  EXPECT_EQ(real, 2.5f);
  EXPECT_FALSE(bundle.findReal("text", real));
  EXPECT_EQ(real, 2.5f);

  int number = -1;
  EXPECT_TRUE(bundle.findNum("int", number));
  EXPECT_EQ(number, 7);
  EXPECT_FALSE(bundle.findNum("real", number));
  EXPECT_FALSE(bundle.findNum("big", number));
  EXPECT_FALSE(bundle.findNum("missing", number));
  EXPECT_EQ(number, 7);
  std::int64_t big = 0;
  EXPECT_TRUE(bundle.findNum("big", big));

  std::string text = "before";
  EXPECT_FALSE(bundle.findString("int", text));
  EXPECT_FALSE(bundle.findString("sub", text));
  EXPECT_EQ(text, "before");
  EXPECT_TRUE(bundle.findString("text", text));
  EXPECT_EQ(text, "seven");
}

TEST(ParamBundle, KeepsOrderAndFlagsWhenSetAgain) {
  HxParamBundle bundle;
  bundle.set("a", 1);
  bundle.set("b", 2)->setFlag(102, true);
  bundle.set("c", 3);
  bundle.set("b", "text");
  ASSERT_EQ(bundle.size(), 3);
  EXPECT_EQ(bundle[1]->name(), "b");
  EXPECT_TRUE(bundle[1]->getFlag(102));
  EXPECT_EQ(bundle.find("b")->print(), "text");
}

TEST(ParamBundle, RemovesByIndexAndName) {
  HxParamBundle bundle;
  for (const char* name : {"a", "b", "c", "d"}) bundle.set(name, 1);
  EXPECT_TRUE(bundle.remove(0));
  EXPECT_EQ(bundle[0]->name(), "b");
  EXPECT_TRUE(bundle.remove("c"));
  EXPECT_FALSE(bundle.remove("c"));
  EXPECT_FALSE(bundle.remove(2));
  EXPECT_FALSE(bundle.remove(-1));
  EXPECT_EQ(bundle.size(), 2);
  bundle.removeAll();
  EXPECT_EQ(bundle.size(), 0);
}

TEST(ParamBundle, CountsSubBundlesAlone) {
  HxParamBundle bundle;
  bundle.set("number", 1);
  bundle.getBundle("first");
  bundle.set("text", "x");
  bundle.getBundle("second");
  EXPECT_EQ(bundle.bundleCount(), 2);
  EXPECT_EQ(bundle.getBundle(0)->name(), "first");
  EXPECT_EQ(bundle.getBundle(1)->name(), "second");
  EXPECT_EQ(bundle.getBundle(2), nullptr);
  EXPECT_EQ(bundle.getBundle(-1), nullptr);
  EXPECT_EQ(bundle.getBundle("third", 0), nullptr);
  EXPECT_EQ(bundle.getBundle("first"), bundle.getBundle(0));
  EXPECT_EQ(bundle.find("first"), nullptr);
  EXPECT_NE(bundle.findBase("first"), nullptr);
}

TEST(ParamBundle, CopiesOverOrKeepsWhatIsThere) {
  HxParamBundle source("source");
  source.set("Id", "old")->setFlag(102, true);
  source.set("extra", 1);
  source.getBundle("sub")->set("x", 1);
  source.setFlag(32, true);

  HxParamBundle kept("kept");
  kept.set("Id", "fresh");
  kept.getBundle("sub")->set("x", 2);
  kept.copy(source, 0);
  EXPECT_EQ(kept.find("Id")->print(), "fresh");
  EXPECT_EQ(kept.find("extra")->print(), "1");
  EXPECT_EQ(kept.getBundle("sub")->find("x")->print(), "2");
  EXPECT_EQ(kept.name(), "kept");
  EXPECT_FALSE(kept.getFlag(32));

  kept.copy(source);
  EXPECT_EQ(kept.find("Id")->print(), "old");
  EXPECT_TRUE(kept.find("Id")->getFlag(102));
  EXPECT_EQ(kept.getBundle("sub")->find("x")->print(), "1");
  kept.copy(kept);
  EXPECT_EQ(kept.size(), 3);
}

TEST(ParamBundle, ClonesDeeply) {
  HxParamBundle source("source");
  source.setFlag(32, true);
  source.getBundle("sub")->set("x", 1)->setFontStyleFlag(2, true);
  HxParamBundle copied(source);
  const auto clone = source.clone();
  source.getBundle("sub")->set("x", 5);
  const std::vector<const HxParamBundle*> copies{&copied, static_cast<const HxParamBundle*>(clone.get())};
  for (const HxParamBundle* bundle : copies) {
    EXPECT_EQ(bundle->name(), "source");
    EXPECT_TRUE(bundle->getFlag(32));
    const HxParameter* x = bundle->getBundle("sub")->find("x");
    EXPECT_EQ(x->print(), "1");
    EXPECT_TRUE(x->getFontStyleFlag(2));
  }
  copied.getBundle("sub")->set("x", 9);
  source = copied;
  EXPECT_EQ(source.getBundle("sub")->find("x")->print(), "9");
}

TEST(ParamBundle, MakesMaterialsEmpty) {
  HxParamBundle bundle;
  EXPECT_EQ(bundle.getMaterials(0), nullptr);
  ASSERT_NE(bundle.getMaterials(1), nullptr);
  EXPECT_EQ(bundle.getMaterials(1)->size(), 0);
  EXPECT_EQ(bundle.getMaterials(0)->name(), "Materials");
}

TEST(ParamBundle, HoldsTheColorOfAMaterialExactly) {
  HxParamBundle bone("Bone");
  McColor color(0.25f, 0.5f, 0.75f);
  EXPECT_FALSE(bone.getMaterialColor(color));
  EXPECT_EQ(color, McColor(0.25f, 0.5f, 0.75f));
  bone.setMaterialColor(McColor(0.1f, 0.2f, 0.3f));
  EXPECT_TRUE(bone.getMaterialColor(color));
  EXPECT_EQ(color, McColor(0.1f, 0.2f, 0.3f));
  EXPECT_EQ(bone.find("Color")->type(), HxParameter::Type::Reals);
  bone.set("Color", "red");
  EXPECT_FALSE(bone.getMaterialColor(color));
}

class ParamCommands : public ::testing::Test {
protected:
  ParamCommands() { HxObjectPool::instance().add(data, "d"); }

  HxParamBundle& parameters() { return data->parameters; }

  HxRecordingSink sink;
  Log log;
  McHandle<TestData> data = new TestData(log, "");
  PoolCleaner cleaner;
};

TEST_F(ParamCommands, SetByWhatTheValueLooksLike) {
  EXPECT_EQ(evaluate("d parameters set count 5; d parameters type count"), "integer");
  EXPECT_EQ(evaluate("d parameters set length 5.5; d parameters type length"), "real");
  EXPECT_EQ(evaluate("d parameters set name {5 apples}; d parameters type name"), "text");
  EXPECT_EQ(evaluate("d parameters set word nan; d parameters type word"), "text");
  EXPECT_EQ(evaluate("d parameters set color 1 0 0.5; d parameters type color"), "reals");
  EXPECT_EQ(evaluate("d parameters get color"), "1.0 0.0 0.5");
  EXPECT_EQ(evaluate("d parameters get name"), "5 apples");
  EXPECT_EQ(evaluate("d parameters setText digits 5; d parameters type digits"), "text");
}

TEST_F(ParamCommands, KeepTheTypeThatIsThere) {
  parameters().set("count", 5);
  parameters().set("length", 2.0);
  EXPECT_EQ(evaluate("d parameters set length 3; d parameters get length"), "3.0");
  EXPECT_EQ(evaluate("d parameters set count many"),
            "error: Parameter \"count\" is of type integer and cannot be \"many\".");
  EXPECT_EQ(evaluate("d parameters get count"), "5");
}

TEST_F(ParamCommands, ReachIntoBundles) {
  EXPECT_EQ(evaluate("d parameters set Materials/Bone/Id 3; d parameters get Materials/Bone/Id"), "3");
  EXPECT_EQ(evaluate("d parameters names"), "Materials");
  EXPECT_EQ(evaluate("d parameters names Materials"), "Bone");
  EXPECT_EQ(evaluate("d parameters type Materials/Bone"), "bundle");
  EXPECT_EQ(evaluate("d parameters remove Materials/Bone; d parameters names Materials"), "");
  EXPECT_EQ(evaluate("d parameters set Materials 5"), "error: Parameter \"Materials\" is a bundle.");
  parameters().set("x", 1);
  EXPECT_EQ(evaluate("d parameters set x/y 5"), "error: Parameter \"x/y\" does not lie in a bundle.");
  EXPECT_EQ(evaluate("d parameters get x"), "1");
}

TEST_F(ParamCommands, LeaveAloneWhatBelongsToTheProgram) {
  parameters().set("Id", "123")->setFlag(102, true);
  EXPECT_EQ(evaluate("d parameters names"), "");
  EXPECT_EQ(evaluate("d parameters get Id"), "123");
  EXPECT_EQ(evaluate("d parameters set Id 4"), "error: Parameter \"Id\" belongs to the program.");
  EXPECT_EQ(evaluate("d parameters remove Id"), "error: Parameter \"Id\" belongs to the program.");
  EXPECT_EQ(evaluate("d parameters get Id"), "123");
  EXPECT_EQ(evaluate("d parameters list"), "");
}

TEST_F(ParamCommands, ListEverythingElse) {
  parameters().set("a", 1);
  parameters().getBundle("sub")->set("b", "x");
  EXPECT_EQ(evaluate("d parameters list"), "a = 1\nsub/\n  b = x");
  EXPECT_EQ(evaluate("d parameters list sub"), "b = x");
  EXPECT_EQ(sink.consoleText(), "");
}

TEST_F(ParamCommands, ReportWhatIsWrong) {
  EXPECT_EQ(evaluate("d parameters get nothing"), "error: Parameter \"nothing\" does not exist.");
  EXPECT_EQ(evaluate("d parameters remove nothing"), "error: Parameter \"nothing\" does not exist.");
  EXPECT_EQ(evaluate("d parameters names nothing"), "error: Parameter \"nothing\" is not a bundle.");
  EXPECT_THAT(evaluate("d parameters set a"), HasSubstr("error: "));
  EXPECT_THAT(evaluate("d parameters jump"), HasSubstr("error: "));
  EXPECT_EQ(evaluate("d parameters help"), "");
  EXPECT_THAT(sink.consoleText(), HasSubstr("setText NAME TEXT"));
}

TEST_F(ParamCommands, MarkTheObjectModified) {
  data->setModified(0);
  evaluate("d parameters get nothing; d parameters names");
  EXPECT_FALSE(data->isModified());
  evaluate("d parameters set a 1");
  EXPECT_TRUE(data->isModified());
}

}  // namespace
