#include <QFile>
#include <algorithm>
#include <gmock/gmock.h>

#include "quarn/formats/labelTables.h"
#include "quarn/formats/readNifti.h"
#include "quarn/formats/registerFormats.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "tests/formats/testFiles.h"

namespace quarn::formats {

static bool operator==(const TableLabel& a, const TableLabel& b) {
  return a.value == b.value && a.name == b.name && a.color == b.color;
}

static void PrintTo(const TableLabel& label, std::ostream* out) {
  *out << label.value << " " << label.name;
  if (label.color) *out << " " << +(*label.color)[0] << " " << +(*label.color)[1] << " " << +(*label.color)[2];
}

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

using Labels = std::vector<TableLabel>;

const Labels sample{
    {0, "Exterior", {}}, {1, "Bone", LabelColor{216, 101, 79}}, {2, "Soft_tissue", LabelColor{0, 0, 255}}};

/// What a table holds, read back.
Labels readBack(const WrittenTable& table) {
  const LabelNames names = LabelNames::parse(table.bytes.toStdString(), QStringLiteral("table"));
  Labels labels;
  for (const auto& [value, name] : names.byValue()) {
    const LabelColor* color = names.color(value);
    labels.push_back({value, name, color ? std::optional(*color) : std::nullopt});
  }
  return labels;
}

McHandle<HxUniformLabelField3> fieldWith(const Labels& labels) {
  McHandle<HxUniformLabelField3> field(new HxUniformLabelField3(McDim3l(1, 1, 1)));
  for (const TableLabel& label : labels) {
    HxParamBundle* material = field->materials(true)->getBundle(label.name);
    if (label.color) material->setMaterialColor(toMcColor(*label.color));
  }
  return field;
}

TEST(LabelTables, ColoursOfMaterialsComeBackAsTheyWere) {
  for (int part = 0; part < 256; ++part) {
    const LabelColor color{static_cast<std::uint8_t>(part), static_cast<std::uint8_t>(255 - part), 7};
    EXPECT_EQ(toLabelColor(toMcColor(color)), color);
  }
  EXPECT_EQ(toLabelColor(McColor(-1, 2, 0.5F)), (LabelColor{0, 255, 128}));
}

TEST(LabelTables, HoldTheMaterialsOfAField) {
  EXPECT_EQ(labelsOf(*fieldWith(sample)), sample);
  EXPECT_THAT(refusal([] { labelsOf(*fieldWith({})); }), HasSubstr("has no materials"));
}

/// Fields that are made of masks have no background, and masks without a record leave gaps.
TEST(LabelTables, HoldTheMaterialsOfMasksByTheirIds) {
  const McHandle<HxUniformLabelField3> field(new HxUniformLabelField3(McDim3l(1, 1, 1)));
  field->materials()->getBundle("Bone")->set("Id", 1);
  field->materials()->getBundle("Overlap")->set("Id", 255);
  EXPECT_EQ(labelsOf(*field), (Labels{{1, "Bone", std::nullopt}, {255, "Overlap", std::nullopt}}));
}

TEST(LabelTables, NamesAndColoursComeBackFromAColorTable) {
  const WrittenTable table = toColorTable(sample);
  EXPECT_EQ(table.bytes.toStdString(),
            "# label name red green blue opacity\n0 Exterior 128 128 128 0\n1 Bone 216 101 79 255\n"
            "2 Soft_tissue 0 0 255 255\n");
  EXPECT_THAT(table.losses, ElementsAre(QStringLiteral("1 of 3 labels have no colour and are grey")));
  Labels expected = sample;
  expected[0].color = LabelColor{128, 128, 128};
  EXPECT_EQ(readBack(table), expected);
}

TEST(LabelTables, NamesAndColoursComeBackFromDescriptions) {
  Labels labels = sample;
  labels[1].name = "Bone of the arm 2";
  const WrittenTable table = toLabelDescriptions(labels);
  EXPECT_THAT(table.bytes.toStdString(), HasSubstr("\n0 128 128 128 0 0 0 \"Exterior\"\n"
                                                   "1 216 101 79 1 1 1 \"Bone of the arm 2\"\n"));
  EXPECT_THAT(table.losses, ElementsAre(QStringLiteral("1 of 3 labels have no colour and are grey")));
  labels[0].color = LabelColor{128, 128, 128};
  EXPECT_EQ(readBack(table), labels);
}

TEST(LabelTables, NamesComeBackFromNames) {
  Labels labels = sample;
  labels[1].name = "Area 17";
  const WrittenTable table = toLabelNames(labels);
  EXPECT_EQ(table.bytes.toStdString(), "0\tExterior\n1\tArea 17\n2\tSoft_tissue\n");
  EXPECT_THAT(table.losses, ElementsAre(QStringLiteral("2 of 3 labels lose their colour")));
  for (TableLabel& label : labels) label.color.reset();
  EXPECT_EQ(readBack(table), labels);
}

TEST(LabelTables, ColoursComeBackFromALookupTable) {
  Labels labels = sample;
  labels.push_back({255, "Last", LabelColor{1, 2, 3}});
  labels.push_back({256, "Beyond", LabelColor{1, 2, 3}});
  const WrittenTable table = toLookupTable(labels);
  ASSERT_EQ(table.bytes.size(), 768);
  EXPECT_THAT(table.losses, ElementsAre(QStringLiteral("5 of 5 labels lose their name"),
                                        QStringLiteral("1 of 5 labels have no colour and are black"),
                                        QStringLiteral("1 of 5 labels are above 255 and left out")));
  const LabelNames names = LabelNames::parse(table.bytes.toStdString(), QStringLiteral("a.lut"));
  EXPECT_EQ(*names.color(1), (LabelColor{216, 101, 79}));
  EXPECT_EQ(*names.color(2), (LabelColor{0, 0, 255}));
  EXPECT_EQ(*names.color(255), (LabelColor{1, 2, 3}));
  for (const std::uint32_t value : {0U, 3U, 254U}) EXPECT_EQ(*names.color(value), LabelColor()) << value;
}

TEST(LabelTables, TellWhatTheyCannotHold) {
  const Labels hard{{1, "left arm", {}}, {2, "the \"good\" one", LabelColor{1, 1, 1}}, {3, "17", LabelColor{2, 2, 2}}};
  const WrittenTable colors = toColorTable(hard);
  EXPECT_THAT(colors.losses, ElementsAre(QStringLiteral("1 of 3 labels have no colour and are grey"),
                                         QStringLiteral("2 of 3 labels get \"_\" for blanks"),
                                         QStringLiteral("1 of 3 labels begin with a number and get \"_\" in front")));
  EXPECT_EQ(readBack(colors), Labels({{1, "left_arm", LabelColor{128, 128, 128}},
                                      {2, "the_\"good\"_one", LabelColor{1, 1, 1}},
                                      {3, "_17", LabelColor{2, 2, 2}}}));
  const WrittenTable descriptions = toLabelDescriptions(hard);
  EXPECT_THAT(descriptions.losses, ElementsAre(QStringLiteral("1 of 3 labels have no colour and are grey"),
                                               QStringLiteral("1 of 3 labels get ' for double quotes")));
  EXPECT_EQ(readBack(descriptions)[1].name, "the 'good' one");
  const WrittenTable names = toLabelNames(hard);
  EXPECT_THAT(names.losses, ElementsAre(QStringLiteral("2 of 3 labels lose their colour"),
                                        QStringLiteral("1 of 3 labels begin with a number and get \"_\" in front")));
  EXPECT_EQ(readBack(names), Labels({{1, "left arm", {}}, {2, "the \"good\" one", {}}, {3, "_17", {}}}));
}

TEST(LabelTables, OfNumbersAloneCanBeRead) {
  Labels labels{{0, "Exterior", LabelColor{}}};
  for (const std::uint32_t value : {1U, 2U, 3U}) labels.push_back({value, std::to_string(value), LabelColor{1, 2, 3}});
  for (const WrittenTable& table : {toColorTable(labels), toLabelNames(labels), toLabelDescriptions(labels)})
    EXPECT_EQ(readBack(table).size(), labels.size()) << table.bytes.toStdString();
  EXPECT_EQ(readBack(toColorTable(labels))[3].name, "_3");
}

class SavedLabelTables : public ::testing::Test {
protected:
  SavedLabelTables() { registerFormats(); }
  ~SavedLabelTables() override { HxObjectPool::instance().clear(); }

  std::string save(const char* format, const char* name) {
    return evaluate(
        QStringLiteral("atlas save {%1} {%2}").arg(QLatin1String(format), folder.path(QLatin1String(name))));
  }

  static std::string evaluate(const QString& script) {
    HxInterpreter& interpreter = HxInterpreter::instance();
    if (const auto error = interpreter.evaluate(script)) return "error: " + error->message.toStdString();
    return interpreter.result().toStdString();
  }

  TestFolder folder;
  HxRecordingSink console;
};

/// An atlas with names and colours from two files, its table as each format, and the atlas with each table again.
TEST_F(SavedLabelTables, AreThoseTheAtlasIsLoadedWith) {
  HxLoadOptions options;
  options.name = QStringLiteral("atlas");
  options.labels = atlasFile(QStringLiteral("aal.nii.txt"));
  options.colors = atlasFile(QStringLiteral("aal.nii.lut"));
  const QString image = atlasFile(QStringLiteral("aal.nii.gz"));
  HxFileTypes::instance().load(image, options);
  auto* field = dynamic_cast<HxUniformLabelField3*>(HxObjectPool::instance().find("atlas"));
  ASSERT_NE(field, nullptr);
  const Labels labels = labelsOf(*field);
  ASSERT_EQ(labels.size(), 117U);
  EXPECT_EQ(labels[3], (TableLabel{3, "Frontal_Sup_L", LabelColor{203, 149, 149}}));

  EXPECT_EQ(save("Color table", "a.ctbl"), "");
  EXPECT_EQ(save("Label descriptions", "a.label"), "");
  EXPECT_THAT(console.consoleEntries, IsEmpty());
  EXPECT_EQ(save("Label names", "a.txt"), "");
  EXPECT_EQ(save("lookup table", "a.lut"), "");
  EXPECT_THAT(console.consoleEntries,
              ElementsAre("a.txt: 117 of 117 labels lose their colour", "a.lut: 117 of 117 labels lose their name"));
  EXPECT_FALSE(field->isModified());
  EXPECT_EQ(field->getLoadCmd(), image);

  const auto tableWith = [&](const char* names, const char* colors) {
    HxLoadOptions again;
    again.labels = folder.path(QLatin1String(names));
    if (colors) again.colors = folder.path(QLatin1String(colors));
    return labelsOf(dynamic_cast<HxUniformLabelField3&>(*readNifti(image, again)));
  };
  EXPECT_EQ(tableWith("a.ctbl", nullptr), labels);
  EXPECT_EQ(tableWith("a.label", nullptr), labels);
  EXPECT_EQ(tableWith("a.txt", "a.lut"), labels);
  EXPECT_EQ(tableWith("a.txt", "a.ctbl"), labels);
}

TEST_F(SavedLabelTables, TellOfOtherIdentifiers) {
  const auto field = fieldWith(sample);
  field->materials()->getBundle("Bone")->set("Id", 1001);
  HxObjectPool::instance().add(field, "atlas");
  EXPECT_EQ(save("Color table", "a.ctbl"), "");
  EXPECT_THAT(
      console.consoleEntries,
      ElementsAre("a.ctbl: 1 of 3 labels have no colour and are grey; values are those of the field; 1 of 3 labels "
                  "have another \"Id\""));
}

TEST_F(SavedLabelTables, GoByTheNameOfTheFile) {
  HxObjectPool::instance().add(fieldWith(sample), "atlas");
  EXPECT_EQ(evaluate("atlas save {" + folder.path(QStringLiteral("b.label")) + "}"), "");
  EXPECT_EQ(LabelNames::read(folder.path(QStringLiteral("b.label"))).byValue().size(), 3U);
  EXPECT_THAT(evaluate("atlas formats"), HasSubstr("{Label descriptions}"));
}

TEST_F(SavedLabelTables, WithoutMaterialsAreRefused) {
  HxObjectPool::instance().add(fieldWith({}), "atlas");
  EXPECT_THAT(save("Color table", "a.ctbl"), HasSubstr("has no materials"));
  EXPECT_FALSE(QFile::exists(folder.path(QStringLiteral("a.ctbl"))));
}

/// Materials have names of other signs than tables, and no two the same.
TEST_F(SavedLabelTables, TellOfNamesThatMaterialsCannotHave) {
  QFile file(folder.path(QStringLiteral("names.txt")));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write("1\tLeft kidney\n2\tLeft kidney\n3\tLiver\n");
  file.close();
  HxLoadOptions options;
  options.labels = file.fileName();
  options.values = HxLoadOptions::parseRanges(QStringLiteral("1-3"));
  const auto field = readNifti(atlasFile(QStringLiteral("aal.nii.gz")), options);
  const Labels labels = labelsOf(dynamic_cast<HxUniformLabelField3&>(*field));
  ASSERT_EQ(labels.size(), 4U);
  EXPECT_EQ(labels[1].name, "Left_kidney");
  EXPECT_EQ(labels[2].name, "Left_kidney-2");
  EXPECT_THAT(console.consoleText(),
              HasSubstr("names of labels were changed to those that materials can have: \"Left kidney\" -> "
                        "Left_kidney\n"));
  EXPECT_THAT(console.consoleText(),
              HasSubstr("names of labels stand there more than once and were numbered: \"Left kidney\" -> "
                        "Left_kidney-2\n"));
}

/// A table of colours alone names no label, but makes one of every value.
TEST_F(SavedLabelTables, ColoursAloneMakeALabelField) {
  HxLoadOptions options;
  options.colors = atlasFile(QStringLiteral("brodmann.nii.lut"));
  options.values = HxLoadOptions::parseRanges(QStringLiteral("1-4"));
  const auto field = readNifti(atlasFile(QStringLiteral("brodmann.nii.gz")), options);
  const Labels labels = labelsOf(dynamic_cast<HxUniformLabelField3&>(*field));
  ASSERT_EQ(labels.size(), 5U);
  EXPECT_EQ(labels[4], (TableLabel{4, "Undescribed-label-4", LabelColor{61, 61, 203}}));
  options.kind = QStringLiteral("scalar");
  options.values.clear();
  EXPECT_THAT(refusal([&] { readNifti(atlasFile(QStringLiteral("brodmann.nii.gz")), options); }),
              HasSubstr("is read as a scalar field, which has no label names or colours"));
}

}  // namespace
}  // namespace quarn::formats
