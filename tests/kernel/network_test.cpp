#include <QDir>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <chrono>
#include <gmock/gmock.h>
#include <thread>

#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxInterrupt.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/fields/HxStandardColormaps.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/io/HxFieldFile.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/network/HxNetwork.h"
#include "tests/kernel/CommaLocale.h"
#include "tests/kernel/NetworkObjects.h"
#include "tests/kernel/TemporaryFolder.h"
#include "tests/kernel/TestObjects.h"
#include "tests/kernel/expectMcException.h"

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

class Network : public ::testing::Test {
protected:
  ~Network() override { HxObjectPool::instance().clear(); }

  static HxObjectPool& pool() { return HxObjectPool::instance(); }

  template <class Object = NetNote>
  static Object* find(const char* name) {
    auto* object = dynamic_cast<Object*>(pool().find(name));
    EXPECT_NE(object, nullptr) << name;
    return object;
  }

  /// A note that stands in a file of its own.
  NetNote* addNote(const QString& name, const QByteArray& text = "text") {
    const QString file = folder.write(name + ".note", text);
    HxLoadOptions options;
    options.name = name;
    return find(HxFileTypes::instance().load(file, options).value(0).toUtf8().constData());
  }

  template <class Object>
  Object* add(const QString& name) {
    Object* object = new Object;
    pool().add(object, name);
    return object;
  }

  /// A module that has made a note, "made", of another, with its last setting.
  NetMaker* addMaker(NetNote* source, const QString& ending = "") {
    NetMaker* maker = add<NetMaker>("maker");
    maker->dataConnection.connect(source);
    maker->ending.setValue(ending);
    makeAgain(*maker);
    return maker;
  }
  static void makeAgain(NetMaker& maker) {
    maker.doIt.hit();
    maker.fire();
  }

  QString save(const QString& name = "a.quarn", bool force = false) {
    const QString file = folder.file(name);
    HxNetwork::save(file, force);
    return file;
  }

  /// The commands of a saved network, without comments and empty lines.
  QStringList commands(const QString& name = "a.quarn") const {
    QStringList lines = QString::fromUtf8(folder.read(name)).split('\n', Qt::SkipEmptyParts);
    lines.removeIf([](const QString& line) { return line.startsWith('#'); });
    return lines;
  }

  QString writeNetwork(const QByteArray& text, const QString& name = "hand.quarn") const {
    return folder.write(name, "# quarn network 1\n" + text);
  }

  static std::string failureOf(const QString& file) {
    try {
      HxNetwork::load(file);
    } catch (const McException& failure) {
      return failure.what();
    }
    ADD_FAILURE() << "nothing failed";
    return {};
  }

  /// What is told about one object when the network is not saved.
  std::vector<std::string> refusalsOf(const QString& name) {
    std::vector<std::string> told;
    for (const QString& line : QString::fromStdString(refusalOfSaving()).split('\n')) {
      if (line.trimmed().startsWith(name + ": ")) told.push_back(line.trimmed().toStdString());
    }
    return told;
  }

  std::string refusalOfSaving(bool force = false) {
    QFile::remove(folder.file("a.quarn"));
    try {
      save("a.quarn", force);
    } catch (const McException& refusal) {
      EXPECT_FALSE(QFile::exists(folder.file("a.quarn")));
      return refusal.what();
    }
    ADD_FAILURE() << "it was saved";
    return {};
  }

  const NoteFiles noteFiles;
  TemporaryFolder folder;
  HxRecordingSink sink;
};

// --- There and back

TEST_F(Network, IsAScriptThatCanBeRead) {
  NetNote* note = addNote("brain");
  NetMaker* maker = add<NetMaker>("maker");
  maker->dataConnection.connect(note);
  maker->ending.setValue("two words");
  maker->doIt.hit();
  maker->fire();
  note->number.setValue(7);
  save();
  EXPECT_THAT(folder.read("a.quarn").toStdString(), StartsWith("# quarn network 1\n# Saved by quarn "));
  EXPECT_THAT(folder.read("a.quarn").toStdString(), HasSubstr("\n\n# maker (NetMaker)\ncreate NetMaker maker\n"));
  const QStringList expected = {
      "load brain.note -as brain",
      "brain number setState 7",
      "brain choice setState 0",
      "brain colors setState {1 1 1 1 1 1}",
      "brain map setState {1 0 0 1 1 1 1 1}",
      "brain fire",
      "create NetMaker maker",
      "maker data connect brain",
      "maker ending setState {two words}",
      "maker fire",
      "nameResult made {\"maker\" doIt hit; \"maker\" compute; \"maker\" getResult}",
      "made setLabel made",
      "made disconnectAll",
      "made number setState 0",
      "made choice setState 0",
      "made colors setState {1 1 1 1 1 1}",
      "made map setState {1 0 0 1 1 1 1 1}",
      "made fire",
  };
  EXPECT_EQ(commands().join("\n").toStdString(), expected.join("\n").toStdString());
}

/// Everything that a port can hold.
void fillPorts(NetNote& note) {
  note.words.setValue("{[exec touch canary]} \"$x\" \\\n; #");
  note.number.setValue(-42);
  note.choice.setValue(2);
  note.colors.setColor(1, McColor(0.1F, 0.25F, 1));
  note.map.setAlphaEnabled(false);
  note.map.setLocalRangeActive(true);
  note.map.setLocalRange(-1.5F, 1e-7F);
  note.map.setDefaultColor(McColor(0, 0.5F, 1));
  note.map.setDefaultAlpha(0.75F);
}

void expectFilledPorts(const NetNote& note) {
  EXPECT_EQ(note.words.getValue(), "{[exec touch canary]} \"$x\" \\\n; #");
  EXPECT_EQ(note.number.getValue(), -42);
  EXPECT_EQ(note.choice.getValue(), 2);
  EXPECT_EQ(note.colors.getColor(0), McColor(1, 1, 1));
  EXPECT_EQ(note.colors.getColor(1), McColor(0.1F, 0.25F, 1));
  EXPECT_FALSE(note.map.isAlphaEnabled());
  EXPECT_TRUE(note.map.isLocalRangeActive());
  EXPECT_EQ(note.map.localMin(), -1.5F);
  EXPECT_EQ(note.map.localMax(), 1e-7F);
  EXPECT_EQ(note.map.defaultColor(), McColor(0, 0.5F, 1));
  EXPECT_EQ(note.map.defaultAlpha(), 0.75F);
}

TEST_F(Network, BringsBackPortsOfEveryKind) {
  fillPorts(*addNote("brain", "of the brain"));
  NetNote* second = addNote("second");
  second->input.connect(find("brain"));
  second->map.connect(HxStandardColormaps::instance().find("magma"));
  const QString file = save();
  const QByteArray text = folder.read("a.quarn");
  pool().clear();
  EXPECT_THAT(HxNetwork::load(file), ElementsAre("brain", "second"));
  expectFilledPorts(*find("brain"));
  EXPECT_EQ(find("brain")->text, "of the brain");
  EXPECT_EQ(find("second")->input.source(), find("brain"));
  EXPECT_EQ(find("second")->map.source(), HxStandardColormaps::instance().find("magma"));
  EXPECT_FALSE(find("brain")->isModified());
  EXPECT_GT(find("brain")->evaluations, 0);
  save();
  EXPECT_EQ(folder.read("a.quarn").toStdString(), text.toStdString());
}

TEST_F(Network, BringsBackColormapObjects) {
  const McHandle<HxColormap> own(new HxColormap);
  own->setEntries({{McColor(1, 0, 0), 1}, {McColor(0, 0, 1), 0.5F}});
  pool().add(own, "viridis");
  HxFileTypes::instance().save(own, "", folder.file("own.colormap"));
  NetNote* both = add<NetNote>("both");
  both->map.connect(own);
  add<NetNote>("standard")->map.connect(HxStandardColormaps::instance().find("viridis"));
  const QString file = save();
  EXPECT_THAT(commands(), ::testing::Contains("load own.colormap -as viridis"));
  EXPECT_THAT(commands(), ::testing::Contains("both map connect viridis"));
  EXPECT_THAT(commands(), ::testing::Contains("standard map connectStandard viridis"));
  pool().clear();
  HxNetwork::load(file);
  EXPECT_EQ(find("both")->map.source(), pool().find("viridis"));
  EXPECT_EQ((*find<HxColormap>("viridis"))[1].alpha, 0.5F);
  EXPECT_EQ(find("standard")->map.source(), HxStandardColormaps::instance().find("viridis"));
}

TEST_F(Network, HasModulesMakeTheirResultsAgain) {
  NetMaker* maker = add<NetMaker>("maker");
  maker->dataConnection.connect(addNote("brain", "abc"));
  maker->ending.setValue("def");
  maker->doIt.hit();
  maker->fire();
  NetNote* made = find("made");
  pool().rename(made, "renamed");
  made->setLabel("A label of its own");
  fillPorts(*made);
  addNote("reader")->input.connect(made);
  const QString file = save();
  pool().clear();
  EXPECT_THAT(HxNetwork::load(file), ElementsAre("brain", "maker", "renamed", "reader"));
  made = find("renamed");
  EXPECT_EQ(made->text, "abcdef");
  EXPECT_EQ(made->getLabel(), "A label of its own");
  EXPECT_EQ(made->baseConnection.source(), pool().find("maker"));
  EXPECT_EQ(find<NetMaker>("maker")->resultObject(), made);
  EXPECT_EQ(find("reader")->input.source(), made);
  expectFilledPorts(*made);
}

TEST_F(Network, KeepsTheLabelOfAResultThatIsItsName) {
  addMaker(addNote("brain"));
  NetNote* made = find("made");
  pool().rename(made, "renamed");
  made->setLabel("renamed");
  const QString file = save();
  pool().clear();
  HxNetwork::load(file);
  EXPECT_EQ(find("renamed")->getLabel(), "renamed");
  find("renamed")->setLabel("");
  save();
  pool().clear();
  HxNetwork::load(file);
  EXPECT_FALSE(find("renamed")->hasLabel());
}

TEST_F(Network, KeepsAResultInAFileAsTheResultOfItsModule) {
  addMaker(addNote("brain", "abc"), "def");
  NetNote* made = find("made");
  made->setLoadCmd(folder.write("made.note", "abcdef"));
  made->setModified(0);
  const QString file = save();
  EXPECT_THAT(commands(), ::testing::Contains("load made.note -as made"));
  EXPECT_THAT(commands(), ::testing::Contains("made resultOf maker"));
  pool().clear();
  HxNetwork::load(file);
  auto* maker = find<NetMaker>("maker");
  made = find("made");
  EXPECT_EQ(maker->resultObject(), made);
  EXPECT_EQ(made->baseConnection.source(), maker);
  EXPECT_FALSE(made->isModified());
  maker->ending.setValue("ghi");
  makeAgain(*maker);
  EXPECT_EQ(evaluate("objects"), "brain made maker");
  EXPECT_EQ(made->text, "abcghi");
}

TEST_F(Network, KeepsTheSlotOfAResultInAFile) {
  auto* maker = add<NetMaker>("maker");
  NetNote* note = addNote("brain");
  maker->setResult(3, note);
  note->setModified(0);
  const QString file = save();
  EXPECT_THAT(commands(), ::testing::Contains("brain resultOf maker 3"));
  pool().clear();
  HxNetwork::load(file);
  EXPECT_EQ(find<NetMaker>("maker")->resultObject(3), find("brain"));
  EXPECT_EQ(find<NetMaker>("maker")->resultObject(0), nullptr);
}

TEST_F(Network, RefusesResultsOfWhatIsNoModule) {
  const std::string failure = failureOf(
      writeNetwork("create NetNote a\ncreate NetMaker m\na resultOf b\na resultOf a\na resultOf m x\nm resultOf m\n"
                   "m data connect a\na resultOf m\n"));
  EXPECT_THAT(failure, HasSubstr("hand.quarn:4: there is no module \"b\" in this network"));
  EXPECT_THAT(failure, HasSubstr("hand.quarn:5: there is no module \"a\" in this network"));
  EXPECT_THAT(failure, HasSubstr("hand.quarn:6: resultOf: a number of a slot is expected, got \"x\""));
  EXPECT_THAT(failure, HasSubstr("hand.quarn:7: m cannot be a result of m"));
  EXPECT_THAT(failure, HasSubstr("hand.quarn:9: a cannot be a result of m"));
  EXPECT_EQ(find<NetMaker>("m")->resultObject(), nullptr);
}

/// Connects its result like many modules do.
class ConnectingMaker : public NetMaker {
public:
  void compute() override {
    const bool hit = doIt.wasHit();
    NetMaker::compute();
    if (auto* made = dynamic_cast<NetNote*>(resultObject()); made && hit) made->input.connect(dataConnection.source());
  }
  McType getTypeId() const override { return ownType; }
  inline static McType ownType;
};

TEST_F(Network, DoesNotConnectWhatWasDisconnected) {
  ConnectingMaker::ownType = McType::create("ConnectingMaker", NetMaker::getClassTypeId(), []() -> void* {
    return static_cast<NetMaker::McTypedRoot*>(new ConnectingMaker);
  });
  auto* maker = add<ConnectingMaker>("maker");
  maker->dataConnection.connect(addNote("brain"));
  maker->doIt.hit();
  maker->fire();
  ASSERT_NE(find("made")->input.source(), nullptr);
  EXPECT_EQ(evaluate("made disconnectAll"), "");
  EXPECT_EQ(find("made")->baseConnection.source(), maker);
  const QString file = save();
  pool().clear();
  HxNetwork::load(file);
  EXPECT_EQ(find("made")->input.source(), nullptr);
  EXPECT_EQ(find("made")->baseConnection.source(), pool().find("maker"));
  pool().clear();
  McType::remove("ConnectingMaker");
}

TEST_F(Network, PutsSourcesFirst) {
  NetNote* early = add<NetNote>("early");
  NetMaker* maker = add<NetMaker>("maker");
  NetNote* late = addNote("late");
  early->input.connect(late);
  maker->dataConnection.connect(early);
  const QString file = save();
  pool().clear();
  EXPECT_THAT(HxNetwork::load(file), ElementsAre("late", "early", "maker"));
  EXPECT_EQ(find("early")->input.source(), pool().find("late"));
  EXPECT_EQ(find<NetMaker>("maker")->dataConnection.source(), pool().find("early"));
}

TEST_F(Network, IsLoadedTwiceBesideItself) {
  addNote("brain")->number.setValue(3);
  NetMaker* maker = add<NetMaker>("maker");
  maker->dataConnection.connect(find("brain"));
  maker->doIt.hit();
  maker->fire();
  addNote("reader")->input.connect(find("made"));
  const QString file = save();
  EXPECT_THAT(HxNetwork::load(file), ElementsAre("brain2", "maker2", "made2", "reader2"));
  EXPECT_EQ(find<NetMaker>("maker2")->dataConnection.source(), pool().find("brain2"));
  EXPECT_EQ(find("made2")->baseConnection.source(), pool().find("maker2"));
  EXPECT_EQ(find("reader2")->input.source(), pool().find("made2"));
  EXPECT_EQ(find("reader")->input.source(), pool().find("made"));
  EXPECT_THAT(sink.consoleText(), HasSubstr("a.quarn: brain is called brain2 here."));
  EXPECT_THAT(HxNetwork::load(file), ElementsAre("brain3", "maker3", "made3", "reader3"));
  EXPECT_EQ(find("brain3")->number.getValue(), 3);
}

TEST_F(Network, KeepsTheOptionsThatAFileNeeds) {
  const QString labels = folder.write("labels.txt", "1 one\n");
  addNote("brain");
  pool().clear();
  HxLoadOptions options;
  options.name = "brain";
  options.labels = labels;
  options.colors = folder.write("labels.lut", "1 one 0 0 9 255\n");
  options.kind = "label";
  options.values = {{1, 90}, {95, 95}, {-3, -1}};
  HxFileTypes::instance().load(folder.file("brain.note"), options);
  const QString file = save();
  EXPECT_EQ(commands().front(),
            "load brain.note -as brain -labels labels.txt -colors labels.lut -kind label -values 1-90,95,-3--1");
  pool().clear();
  HxNetwork::load(file);
  EXPECT_EQ(find("brain")->getLoadOptions().values, options.values);
  EXPECT_EQ(find("brain")->getLoadOptions().labels, labels);
  EXPECT_EQ(find("brain")->getLoadOptions().colors, folder.file("labels.lut"));
}

TEST_F(Network, MayMoveWithItsData) {
  QDir(folder.path()).mkpath("one/data");
  const QString data = folder.write("one/data/brain.note", "moved");
  HxFileTypes::instance().load(data);
  save("one/a.quarn");
  EXPECT_THAT(commands("one/a.quarn").front().toStdString(), HasSubstr("load data/brain.note"));
  pool().clear();
  ASSERT_TRUE(QDir(folder.path()).rename("one", "two"));
  HxNetwork::load(folder.file("two/a.quarn"));
  EXPECT_EQ(find("brain.note")->text, "moved");
}

TEST_F(Network, NamesDataElsewhereInFull) {
  QDir(folder.path()).mkpath("networks");
  addNote("brain");
  save("networks/a.quarn");
  EXPECT_EQ(commands("networks/a.quarn").front(), "load " + folder.file("brain.note") + " -as brain");
}

TEST_F(Network, SeesDataBelowItThroughALink) {
  QDir(folder.path()).mkpath("real");
  ASSERT_TRUE(QFile::link(folder.file("real"), folder.file("link")));
  HxFileTypes::instance().load(folder.write("real/brain.note", "x"));
  save("link/a.quarn");
  EXPECT_THAT(commands("link/a.quarn").front().toStdString(), StartsWith("load brain.note"));
}

TEST_F(Network, NamesDataAsSeenFromWhereALinkLeads) {
  for (const char* name : {"real", "links", "more"}) QDir(folder.path()).mkpath(name);
  ASSERT_TRUE(QFile::link(folder.file("real/a.quarn"), folder.file("links/link.quarn")));
  ASSERT_TRUE(QFile::link("../links/link.quarn", folder.file("more/a.quarn")));
  HxFileTypes::instance().load(folder.write("real/brain.note", "x"));
  HxFileTypes::instance().load(folder.write("more/other.note", "y"));
  // Once where there is no file yet, once over a file.
  for (int time = 0; time < 2; ++time) {
    save("more/a.quarn");
    EXPECT_EQ(commands("real/a.quarn").front(), "load brain.note -as brain.note");
    EXPECT_THAT(commands("real/a.quarn"),
                ::testing::Contains("load " + folder.file("more/other.note") + " -as other.note"));
  }
  for (const char* way : {"more/a.quarn", "links/link.quarn", "real/a.quarn"}) {
    pool().clear();
    EXPECT_THAT(HxNetwork::load(folder.file(way)), ElementsAre("brain.note", "other.note")) << way;
  }
  EXPECT_TRUE(QFileInfo(folder.file("more/a.quarn")).isSymLink());
}

TEST_F(Network, GivesUpOnLinksThatLeadNowhere) {
  ASSERT_TRUE(QFile::link(folder.file("b.quarn"), folder.file("a.quarn")));
  ASSERT_TRUE(QFile::link(folder.file("a.quarn"), folder.file("b.quarn")));
  EXPECT_THROW(HxNetwork::load(folder.file("a.quarn")), McException);
}

TEST_F(Network, KeepsLabelsAndNamesThatLookLikeCode) {
  const QStringList hostile = {"[exec touch canary]",
                               "\"; exec touch canary; \"",
                               "a\nexec touch canary",
                               "$env(HOME)",
                               "{",
                               "}",
                               "\\",
                               "a\\\nb",
                               "#",
                               "-as",
                               "100%n%s%1",
                               "äöü 漢字",
                               "brain]",
                               "\t\r\n",
                               "; exit",
                               "{}",
                               "a b",
                               "\"",
                               "'",
                               "\\\\[",
                               "*",
                               "~/x",
                               "..\\",
                               "set"};
  for (const QString& text : hostile) {
    NetNote* note = add<NetNote>(text);
    note->setLabel(text);
    note->words.setValue(text);
  }
  QStringList names, labels;
  for (const auto& object : pool().objects()) {
    names += object->getName();
    labels += object->getLabel();
  }
  const QString file = save();
  pool().clear();
  EXPECT_EQ(HxNetwork::load(file), names);
  for (qsizetype i = 0; i < names.size(); ++i) {
    const auto* note = find(names[i].toUtf8().constData());
    EXPECT_EQ(note->getLabel(), labels[i]);
    EXPECT_EQ(note->words.getValue(), hostile[i]);
  }
  EXPECT_FALSE(QFile::exists("canary"));
}

TEST_F(Network, KeepsFileNamesThatLookLikeCode) {
  for (const char* name : {"a [exec touch canary]", "b; exit", "c $x {", "d \\"}) addNote(name);
  const QString file = save();
  pool().clear();
  EXPECT_EQ(HxNetwork::load(file).size(), 4);
  EXPECT_FALSE(QFile::exists("canary"));
}

TEST_F(Network, DoesNotDependOnTheLocale) {
  const CommaLocale locale;
  fillPorts(*addNote("brain"));
  const QString file = save();
  EXPECT_THAT(folder.read("a.quarn").toStdString(), HasSubstr("map setState {0 1 -1.5 1e-07 0 0.5 1 0.75}"));
  pool().clear();
  HxNetwork::load(file);
  expectFilledPorts(*find("brain"));
}

TEST_F(Network, HoldsAHundredObjects) {
  const NetNote* former = nullptr;
  for (int i = 0; i < 100; ++i) {
    NetNote* note = addNote(QString("note%1_").arg(i));
    note->number.setValue(i);
    if (former) note->input.connect(const_cast<NetNote*>(former));
    former = note;
  }
  const QString file = save();
  pool().clear();
  EXPECT_EQ(HxNetwork::load(file).size(), 100);
  EXPECT_EQ(find("note99_")->number.getValue(), 99);
  EXPECT_EQ(find("note99_")->input.source(), pool().find("note98_"));
}

// --- What would be lost

TEST_F(Network, IsNotSavedWhileDataAreNot) {
  addNote("changed")->setText("new");
  add<NetNote>("unsaved")->setText("new");
  add<NetNote>("empty");
  NetMaker* maker = add<NetMaker>("maker");
  maker->dataConnection.connect(addNote("source"));
  maker->doIt.hit();
  maker->fire();
  find("made")->parameters.set("note", 1);
  EXPECT_EQ(evaluate("made parameters set note 2"), "");
  EXPECT_EQ(refusalOfSaving(), folder.file("a.quarn").toStdString() +
                                   ": not saved, since this would be lost:\n  changed: changes since it was saved as " +
                                   folder.file("changed.note").toStdString() +
                                   "\n  unsaved: is not saved in a file\n  made: changes since maker made it\n"
                                   "Save or remove these objects, or give -force to do without.");
}

TEST_F(Network, IsNotSavedWhenAResultHasLostItsInput) {
  NetMaker* maker = add<NetMaker>("maker");
  maker->dataConnection.connect(addNote("source"));
  maker->doIt.hit();
  maker->fire();
  maker->dataConnection.disconnect();
  EXPECT_THAT(refusalOfSaving(), HasSubstr("made: maker, which makes it, has lost its input"));
}

TEST_F(Network, IsNotSavedWhenAModuleHasOtherSettings) {
  NetMaker* maker = addMaker(addNote("brain"), "made with");
  maker->ending.setValue("another");
  EXPECT_THAT(refusalOfSaving(), HasSubstr("\n  made: port \"ending\" of maker changed since maker made it\n"));
  maker->ending.setValue("made with");
  save();
  maker->ending.setValue("another");
  makeAgain(*maker);
  save();
}

TEST_F(Network, IsNotSavedWhenASourceHasOtherContent) {
  NetNote* brain = addNote("brain");
  NetNote* behind = addNote("behind");
  brain->input.connect(behind);
  NetMaker* maker = addMaker(brain);
  brain->setText("other");
  brain->setModified(0);
  EXPECT_THAT(refusalOfSaving(), HasSubstr("\n  made: brain changed since maker made it\n"));
  makeAgain(*maker);
  behind->setText("other");
  behind->setModified(0);
  EXPECT_THAT(refusalOfSaving(), HasSubstr("\n  made: behind changed since maker made it\n"));
  makeAgain(*maker);
  EXPECT_EQ(evaluate("brain parameters set Species mouse"), "");
  brain->setModified(0);
  EXPECT_THAT(refusalOfSaving(), HasSubstr("\n  made: brain changed since maker made it\n"));
  makeAgain(*maker);
  brain->input.disconnect();
  EXPECT_THAT(refusalOfSaving(), HasSubstr("\n  made: what maker is connected to changed since maker made it\n"));
  brain->input.connect(behind);
  save();
  maker->dataConnection.connect(behind);
  EXPECT_THAT(refusalsOf("made"), ElementsAre("made: what maker is connected to changed since maker made it"));
}

TEST_F(Network, IsSavedWhenASourceIsShownInAnotherWay) {
  NetNote* brain = addNote("brain");
  addMaker(brain);
  brain->map.connect(HxStandardColormaps::instance().find("magma"));
  brain->number.setValue(5);
  brain->setLabel("label");
  brain->fire();
  save();
}

TEST_F(Network, IsNotSavedWhenASourceComesBackInAnotherWay) {
  addNote("brain")->setText("not in its file");
  addMaker(find("brain"));
  EXPECT_THAT(refusalsOf("made"), ElementsAre("made: it was made from brain, which does not come back as it is"));
}

TEST_F(Network, NamesLabelsWhoseFileIsGone) {
  HxLoadOptions options;
  options.name = "brain";
  options.labels = folder.write("labels.txt", "1 one\n");
  HxFileTypes::instance().load(folder.write("brain.note", "x"), options);
  save();
  ASSERT_TRUE(QFile::remove(options.labels));
  EXPECT_THAT(refusalsOf("brain"),
              ElementsAre("brain: " + options.labels.toStdString() + ", with the names of its labels, is not there"));
}

TEST_F(Network, NamesColoursWhoseFileIsGone) {
  HxLoadOptions options;
  options.name = "brain";
  options.colors = folder.write("labels.lut", "1 one 0 0 9 255\n");
  HxFileTypes::instance().load(folder.write("brain.note", "x"), options);
  save();
  ASSERT_TRUE(QFile::remove(options.colors));
  EXPECT_THAT(refusalsOf("brain"),
              ElementsAre("brain: " + options.colors.toStdString() + ", with the colours of its labels, is not there"));
}

TEST_F(Network, NamesTheDataFileOfAFieldThatIsGone) {
  const McHandle<HxUniformLabelField3> field(new HxUniformLabelField3(McDim3l(3, 2, 1)));
  pool().add(field, "field");
  HxFieldFile::save(*field, folder.file("own.field.qm"));
  save();
  for (const QString& name : QDir(folder.path()).entryList({"own*"}, QDir::Files)) {
    if (!name.endsWith(".qm")) {
      EXPECT_TRUE(QFile::remove(folder.file(name)));
    }
  }
  const std::vector<std::string> told = refusalsOf("field");
  ASSERT_EQ(told.size(), 1U);
  EXPECT_THAT(told.front(), HasSubstr(folder.path().toStdString() + "/own"));
  EXPECT_THAT(told.front(), HasSubstr("No such file"));
}

TEST_F(Network, PassesOverPortsOfWhatComesBackInAnotherWay) {
  NetNote* brain = addNote("brain");
  brain->setText("new");
  brain->number.setValue(4);
  HxPortInteger own(brain, "own {", "Own", 0, 9);
  HxConnection more(brain, "more", "More", HxData::getClassTypeId());
  more.connect(addNote("other"));
  const QString file = save("a.quarn", true);
  EXPECT_THAT(commands().join("\n").toStdString(), HasSubstr("brain optional own\\ \\{ setState 0"));
  EXPECT_THAT(commands(), ::testing::Contains("brain optional more connect other"));
  pool().clear();
  EXPECT_THAT(HxNetwork::load(file), ElementsAre("other", "brain"));
  EXPECT_EQ(find("brain")->number.getValue(), 4);
  EXPECT_THAT(sink.consoleText(),
              HasSubstr("a.quarn: brain has no port \"more\" here; what is for it is passed over.\n"));
  EXPECT_THAT(sink.consoleText(), HasSubstr("a.quarn: brain has no port \"own {\" here;"));
}

TEST_F(Network, LeavesOutWhatIsNotSavedWhenTold) {
  addNote("changed", "old")->setText("new");
  NetNote* unsaved = add<NetNote>("unsaved");
  unsaved->setText("new");
  addNote("reader")->input.connect(unsaved);
  EXPECT_EQ(evaluate("saveNetwork -force {" + folder.file("a.quarn") + "}"), "");
  EXPECT_THAT(sink.consoleText(), HasSubstr("Not in the network: unsaved: is not saved in a file\n"));
  const std::string text = folder.read("a.quarn").toStdString();
  EXPECT_THAT(text, HasSubstr("# not in this network: changes since it was saved as "));
  EXPECT_THAT(text, HasSubstr("# left out: is not saved in a file\n"));
  EXPECT_THAT(text, HasSubstr("# left out: \"input\" was connected to unsaved\n"));
  pool().clear();
  EXPECT_THAT(HxNetwork::load(folder.file("a.quarn")), ElementsAre("changed", "reader"));
  EXPECT_EQ(find("changed")->text, "old");
  EXPECT_EQ(find("reader")->input.source(), nullptr);
}

TEST_F(Network, NamesDataWhoseFileIsGone) {
  addNote("brain");
  ASSERT_TRUE(QFile::remove(folder.file("brain.note")));
  EXPECT_THAT(refusalOfSaving(), HasSubstr("brain: its file " + folder.file("brain.note").toStdString()));
}

TEST_F(Network, NamesObjectsThatNoScriptCanMake) {
  Log log;
  pool().add(new TestModule(log), "module");
  TestModule* maker = new TestModule(log);
  pool().add(maker, "");
  EXPECT_THAT(refusalOfSaving(), HasSubstr("module: no object of class HxCompModule can be made by a script"));
}

TEST_F(Network, LeavesOutResultsOfModulesThatDoNotComeBack) {
  struct Nameless : TestModule {
    using TestModule::TestModule;
    bool canCreateData(HxData*, QString& script) override {
      script = "anything";
      return true;
    }
  };
  Log log;
  auto* module = new Nameless(log);
  pool().add(module, "module");
  module->setResult(new NetNote);
  EXPECT_THAT(refusalOfSaving(), HasSubstr("NetNote: module, which makes it, does not come back"));
}

TEST_F(Network, ChangesThatDoNotCountAreNoReason) {
  struct Picky : NetNote {
    void setModified(unsigned int flags) override { NetNote::setModified(flags & 8); }
  };
  NetMaker* maker = add<NetMaker>("maker");
  auto* result = new Picky;
  maker->setResult(result);
  EXPECT_FALSE(result->isChangedSinceMade());
  result->touch(16);
  EXPECT_FALSE(result->isChangedSinceMade());
  EXPECT_TRUE(result->isModified()) << "since it was made";
  result->touch(8);
  EXPECT_TRUE(result->isChangedSinceMade());
}

TEST_F(Network, WantsItsSuffix) {
  EXPECT_THAT(textOfException([&] { HxNetwork::save(folder.file("a.tcl")); }),
              HasSubstr("a.tcl: the name must end in .quarn"));
  EXPECT_THAT(evaluate("saveNetwork {" + folder.file("a.qm") + "}"), HasSubstr("must end in .quarn"));
  EXPECT_THAT(evaluate("saveNetwork -all {" + folder.file("a.quarn") + "}"), HasSubstr("unknown option \"-all\""));
}

TEST_F(Network, LeavesTheOldFileWhenItCannotBeWritten) {
  EXPECT_THAT(textOfException([&] { HxNetwork::save(folder.file("no/a.quarn")); }), HasSubstr("no/a.quarn: cannot be"));
  folder.write("a.quarn", "old");
  add<NetNote>("unsaved")->setText("new");
  EXPECT_THROW(save(), McException);
  EXPECT_EQ(folder.read("a.quarn"), "old");
}

// --- What fails on the way back

TEST_F(Network, NamesAMissingFileAndLoadsTheRest) {
  addNote("brain");
  addNote("other")->number.setValue(5);
  NetMaker* maker = add<NetMaker>("maker");
  maker->dataConnection.connect(find("brain"));
  maker->doIt.hit();
  maker->fire();
  const QString file = save();
  pool().clear();
  ASSERT_TRUE(QFile::remove(folder.file("brain.note")));
  const std::string failure = failureOf(file);
  EXPECT_THAT(failure, StartsWith(file.toStdString() + ": 2 of 23 commands failed; came back: other, maker\n"));
  EXPECT_THAT(failure, HasSubstr("\n  a.quarn:5: " + folder.file("brain.note").toStdString() +
                                 ": cannot be opened: No such file or directory\n"));
  EXPECT_THAT(failure, HasSubstr("\n  a.quarn:26: \"maker\" has no result.\n"));
  EXPECT_THAT(failure, HasSubstr("\n  brain did not come back; 6 commands that need it were skipped"));
  EXPECT_THAT(failure, HasSubstr("\n  made did not come back; 7 commands that need it were skipped"));
  EXPECT_EQ(find("other")->number.getValue(), 5);
  EXPECT_EQ(pool().objects().size(), 2U);
  EXPECT_FALSE(HxApplication::instance()->isLoadingNetwork());
}

TEST_F(Network, FailsAsACommandAndKeepsWhatCame) {
  const QString file =
      writeNetwork("create NetNote a\ncreate Nothing b\nb fire\na input connect b\ncreate NetNote c\n");
  EXPECT_THAT(
      evaluate("load {" + file + "}"),
      AllOf(StartsWith("error: "), HasSubstr("hand.quarn:3: There is no class \"Nothing\"."),
            HasSubstr("b did not come back; 2 commands that need it were skipped"), Not(HasSubstr("a.quarn:4"))));
  EXPECT_EQ(evaluate("objects"), "a c");
}

TEST_F(Network, TellsEveryFailureWithItsLine) {
  const QString file = writeNetwork(
      "create NetNote a\n\n"
      "a number setState {not a number}\n"
      "a dance\n"
      "a input connect\n"
      "a separator setState x\n"
      "a buttons hit 7\n"
      "create HxColormap c; c master connect a\n"
      "a map connect a\n"
      "a map connectStandard nothing\n"
      "a map connect grey\n"
      "if {\n");
  const std::string failure = failureOf(file);
  EXPECT_THAT(failure, HasSubstr("8 of 12 commands failed; came back: a, c\n"));
  EXPECT_THAT(failure, HasSubstr("hand.quarn:4: Port \"number\" of \"a\" cannot take the state \"not a number\"."));
  EXPECT_THAT(failure, HasSubstr("hand.quarn:5: a: \"dance\" is neither a port of it nor a command of networks"));
  EXPECT_THAT(failure, HasSubstr("hand.quarn:6: usage: input connect OBJECT"));
  EXPECT_THAT(failure, HasSubstr("hand.quarn:7: Port \"separator\" of \"a\" cannot take the state \"x\"."));
  EXPECT_THAT(failure, HasSubstr("hand.quarn:8: hit: wrong value \"7\""));
  EXPECT_THAT(failure, HasSubstr("hand.quarn:10: \"a\" cannot be connected to port \"map\" of \"a\"."));
  EXPECT_THAT(failure, HasSubstr("hand.quarn:11: connectStandard: wrong value \"nothing\""));
  EXPECT_THAT(failure, HasSubstr("hand.quarn:13: missing close-brace"));
  EXPECT_EQ(find("a")->map.source(), HxStandardColormaps::instance().find("grey"));
}

TEST_F(Network, GoesOnBehindALineThatCannotBeRead) {
  const std::string failure = failureOf(writeNetwork("create NetNote a\n# {\ncreate {NetNote}b\ncreate NetNote c\n"));
  EXPECT_THAT(failure, HasSubstr("1 of 3 commands failed; came back: a, c\n  hand.quarn:4: extra characters after"));
}

TEST_F(Network, GivesUpATextThatIsNone) {
  QByteArray text = "create NetNote a\n";
  for (int i = 0; i < 100000; ++i) text += "\"a\"b\n";
  const std::string failure = failureOf(writeNetwork(text + "create NetNote c\n"));
  EXPECT_THAT(failure, HasSubstr("10 of 11 commands failed; came back: a\n"));
  EXPECT_THAT(failure, HasSubstr("hand.quarn:12: extra characters after close-quote; there is too much that cannot "
                                 "be read, and the rest is passed over"));
}

TEST_F(Network, SetsTheLoadingFlag) {
  struct Watcher : HxObjectPoolListener {
    Watcher() { HxObjectPool::instance().addListener(this); }
    ~Watcher() override { HxObjectPool::instance().removeListener(this); }
    void objectAdded(HxObject*) override { wasLoading = HxApplication::instance()->isLoadingNetwork(); }
    bool wasLoading = false;
  } watcher;
  HxNetwork::load(writeNetwork("create NetNote a\n"));
  EXPECT_TRUE(watcher.wasLoading);
  EXPECT_FALSE(HxApplication::instance()->isLoadingNetwork());
}

TEST_F(Network, WantsItsFirstLine) {
  EXPECT_THAT(textOfException([&] { HxNetwork::load(folder.write("x.quarn", "create NetNote a\n")); }),
              HasSubstr("x.quarn:1: \"create NetNote a\": is no network: \"# quarn network 1\" is expected"));
  EXPECT_THAT(textOfException([&] { HxNetwork::load(folder.write("x.quarn", "# quarn network 2\n")); }),
              HasSubstr("this version of networks is not known here"));
  EXPECT_THAT(textOfException([&] { HxNetwork::load(folder.write("x.quarn", "")); }), HasSubstr("is no network"));
  EXPECT_THAT(HxNetwork::load(folder.write("x.quarn", "\xEF\xBB\xBF# quarn network 1\r\ncreate NetNote a\r\n")),
              ElementsAre("a"));
}

TEST_F(Network, TakesNoOptions) {
  const QString file = writeNetwork("create NetNote a\n");
  EXPECT_THAT(evaluate("load {" + file + "} -as b"), HasSubstr("a network takes no options"));
  EXPECT_EQ(evaluate("load {" + file + "}"), "a");
  EXPECT_TRUE(HxFileTypes::instance().suffixes().contains(".quarn"));
}

TEST_F(Network, CanBeWrittenByHand) {
  const QString file = writeNetwork(
      "foreach n {1 2 3} {\n  set note [create NetNote note$n]\n  $note number setState [expr {$n * $n}]\n}\n"
      "create NetNote note2\n"
      "set last [create NetNote]\n"
      "$last input connect note3\n");
  EXPECT_THAT(HxNetwork::load(file), ElementsAre("note1", "note2", "note3", "note2-2", "NetNote"));
  EXPECT_EQ(find("note3")->number.getValue(), 9);
  EXPECT_EQ(find("NetNote")->input.source(), pool().find("note3"));
}

// --- What a network cannot do

TEST_F(Network, ReachesNoFilesAndNoPrograms) {
  const QString canary = folder.file("canary");
  const QStringList attempts = {
      "exec touch CANARY",
      "open CANARY w",
      "open {| touch CANARY}",
      "close [open CANARY w]",
      "source " + folder.write("canary.tcl", "set f [open " + canary.toUtf8() + " w]; close $f"),
      "file delete " + folder.write("kept", "x"),
      "file mkdir CANARY",
      "cd /",
      "glob *",
      "socket 127.0.0.1 9",
      "exit 3",
      "interp eval {} {exec touch CANARY}",
      "interp invokehidden {} exec touch CANARY",
      "after 0 {exec touch CANARY}",
      "vwait forever",
      "update",
      "package require Tk",
      "uplevel #0 {exec touch CANARY}",
      "namespace eval :: {exec touch CANARY}",
      "::tcl::file::delete " + folder.file("kept"),
      "saveNetwork CANARY.quarn",
      "remove a",
      "preferences set {Temporary Directory} /",
      "recover discard",
      "a save CANARY",
      "a save Notes CANARY",
      "a parameters set x 1",
      "a formats",
      "load libexec.so",
      "load /etc/passwd",
      "load self.quarn",
      "mine fire",
      "a input connect mine",
      "nameResult theirs {set x mine}",
      "eval {exec touch CANARY}",
      "rename unknown {}; exec touch CANARY",
      "proc exec args {open CANARY w}; exec",
      "a words setState [pid]",
      "info hostname",
      "info nameofexecutable",
      "info script",
      "info loaded",
      "chan pipe",
      "chan names",
      "encoding system",
      "file exists /etc/passwd",
      "file join a b",
      "fconfigure stdout",
      "puts stdout x",
      "gets stdin",
      "read stdin",
      "clock seconds",
      "time {set x 1}",
      "trace add variable x write x",
      "unload libexec.so",
      "interp create",
      "namespace delete ::",
      "rename load {}",
      "coroutine c set x",
      "binary format a x",
      "zlib crc32 x",
      "::oo::class create c",
      "::tcl::unsupported::disassemble script {}",
      "::tcl::unsupported::representation x",
      "::tcl::pkgconfig list",
      "::tcl::info::hostname",
      "::tcl::chan::pipe",
      "::tcl::clock::seconds",
      "::tcl::encoding::system",
  };
  add<NetNote>("mine");
  folder.write("self.quarn", "# quarn network 1\nload self.quarn\n");
  for (QString attempt : attempts) {
    attempt.replace("CANARY", canary);
    const std::string failure = failureOf(writeNetwork("create NetNote a\n" + attempt.toUtf8() + "\n"));
    EXPECT_THAT(failure, HasSubstr("hand.quarn:3: ")) << attempt.toStdString();
    EXPECT_FALSE(QFile::exists(canary)) << attempt.toStdString();
  }
  EXPECT_TRUE(QFile::exists(folder.file("kept")));
  EXPECT_FALSE(QFile::exists(canary + ".quarn"));
  EXPECT_NE(pool().find("mine"), nullptr);
}

TEST_F(Network, LeavesTheInterpreterOfTheProcessAlone) {
  HxNetwork::load(writeNetwork("set leak 1\nproc leakProc {} {}\nset ::leak2 1\ncreate NetNote a\n"));
  EXPECT_EQ(evaluate("info exists leak"), "0");
  EXPECT_EQ(evaluate("info exists leak2"), "0");
  EXPECT_EQ(evaluate("info procs leakProc"), "");
  EXPECT_EQ(evaluate("interp children"), "");
  EXPECT_EQ(evaluate("a getClass"), "NetNote");
}

/// Looks at the interpreter of a network while that is loaded.
struct InterpreterWatcher : HxObjectPoolListener {
  InterpreterWatcher() { HxObjectPool::instance().addListener(this); }
  ~InterpreterWatcher() override { HxObjectPool::instance().removeListener(this); }

  void objectAdded(HxObject*) override {
    for (const QString& space : namespacesAtFirst()) {
      const QString pattern = space == "::" ? "::*" : space + "::*";
      const std::string found = evaluate("interp eval [interp children] {info commands " + pattern + "}");
      ASSERT_EQ(found.find("error: "), std::string::npos) << found;
      commands += QString::fromStdString(found).split(' ', Qt::SkipEmptyParts);
    }
  }

  /// All that a safe interpreter has at first.
  static QStringList namespacesAtFirst() {
    const QString walk =
        "set probe [interp create -safe]; set found [interp eval $probe {proc walk space {set all $space;"
        "foreach child [namespace children $space] {lappend all {*}[walk $child]}; return $all}; walk ::}];"
        "interp delete $probe; set found";
    return QString::fromStdString(evaluate(walk)).split(' ', Qt::SkipEmptyParts);
  }

  QStringList commands;
};

/// The words in the second column of the table below a line that begins with `start`.
QStringList documentedWords(const QString& start) {
  QFile file(QStringLiteral(QUARN_SOURCE_DIR "/docs/format/network.md"));
  EXPECT_TRUE(file.open(QIODevice::ReadOnly));
  const QString text = QString::fromUtf8(file.readAll());
  const qsizetype from = text.indexOf("| " + start);
  EXPECT_GE(from, 0) << start.toStdString();
  const QString line = text.mid(from).section('\n', 0, 0);
  QStringList words;
  static const QRegularExpression quoted("`([^`]+)`");
  for (const auto& match : quoted.globalMatch(line.section('|', 2, 2))) words += match.captured(1);
  return words;
}

TEST_F(Network, HasTheCommandsThatAreDocumentedAndNoOthers) {
  QStringList expected = {"::load", "::create", "::nameResult", "::unknown", "::first"};
  for (const char* row : {"values", "variables", "procedures", "control"}) {
    for (const QString& word : documentedWords(row)) expected += "::" + word;
  }
  for (const QString& word : documentedWords("`info`")) expected += "::tcl::info::" + word;
  InterpreterWatcher watcher;
  HxNetwork::load(writeNetwork("create NetNote first\ncreate NetNote second\n"));
  // The parts of these are what the documentation of Tcl says; none of them reaches out of the interpreter.
  static const QRegularExpression parts("^::tcl::(array|dict|string|mathfunc|mathop)::");
  ASSERT_GT(watcher.commands.size(), 100);
  watcher.commands.removeIf([](const QString& name) { return name.contains(parts); });
  watcher.commands.removeDuplicates();
  watcher.commands.sort();
  expected.sort();
  EXPECT_EQ(watcher.commands.join("\n").toStdString(), expected.join("\n").toStdString());
}

TEST_F(Network, UsesWhatItMay) {
  HxNetwork::load(writeNetwork(
      "proc double {list} {lmap x $list {expr {max(2 * $x, 0)}}}\n"
      "dict set d a [double {1 2}]; array set q {b 3}; lappend q(b) [string toupper x]\n"
      "try {throw {A B} oh} on error text {append text !}\n"
      "create NetNote a\n"
      "a words setState \"[dict get $d a] $q(b) $text [info exists d] [info level] [expr {min(3, -1.5, 2)}]\"\n"));
  EXPECT_EQ(find("a")->words.getValue(), "2 4 3 X oh! 1 0 -1.5");
}

/// Interrupts soon after the first object came.
std::jthread interruptingUser() {
  return std::jthread([] {
    while (HxObjectPool::instance().objects().empty()) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    HxInterrupt::request();
  });
}

TEST_F(Network, StopsWhenTheUserInterrupts) {
  const QString file = writeNetwork("create NetNote a\nwhile 1 {}\ncreate NetNote b\n");
  const std::jthread user = interruptingUser();
  const auto error = HxInterpreter::instance().evaluate("load {" + file + "}");
  ASSERT_TRUE(error);
  EXPECT_TRUE(error->interrupted);
  EXPECT_EQ(evaluate("objects"), "a");
}

TEST_F(Network, StopsWhenTheUserHasInterruptedBefore) {
  const QString file = writeNetwork("create NetNote a\nwhile 1 {}\n");
  HxInterrupt::request();
  EXPECT_ANY_THROW(HxNetwork::load(file));
  EXPECT_TRUE(HxInterrupt::wasRequested());
  HxInterrupt::clear();
  EXPECT_FALSE(HxInterrupt::wasRequested());
}

TEST_F(Network, CannotCatchThatTheUserInterrupts) {
  const QString file = writeNetwork(
      "create NetNote a\nset n 0\nproc spin {} {while 1 {}}\n"
      "while {[incr n] < 3} {catch {expr {max(1, 2)}; try {spin} on error text {spin} finally {create NetNote c}}}\n"
      "create NetNote b\n");
  const std::jthread user = interruptingUser();
  const auto error = HxInterpreter::instance().evaluate("load {" + file + "}");
  ASSERT_TRUE(error);
  EXPECT_TRUE(error->interrupted);
  EXPECT_EQ(evaluate("objects"), "a");
  EXPECT_EQ(evaluate("catch {error x} text; set text"), "x") << "the interpreter of the process goes on";
}

// --- Commands around it

TEST_F(Network, ClearNamesWhatIsNotSaved) {
  addNote("brain");
  EXPECT_EQ(evaluate("clear"), "");
  EXPECT_EQ(evaluate("objects"), "");
  add<NetNote>("unsaved")->setText("new");
  EXPECT_EQ(evaluate("clear"), "error: not saved: unsaved; save or remove what is wanted, or give -force");
  EXPECT_EQ(evaluate("objects"), "unsaved");
  EXPECT_EQ(evaluate("clear -force; objects"), "");
}

TEST_F(Network, NameResultRenames) {
  add<NetNote>("a");
  EXPECT_EQ(evaluate("nameResult b {a getClass; set x a}"), "b");
  EXPECT_EQ(evaluate("objects"), "b");
  EXPECT_THAT(evaluate("nameResult c {set x nothing}"), HasSubstr("there is no object \"nothing\""));
  EXPECT_THAT(evaluate("nameResult c {error oh}"), HasSubstr("oh"));
}

}  // namespace
