#include <gmock/gmock.h>
#include <map>

#include "Workbench.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/objects/HxObject.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/ports/HxPort.h"
#include "quarn/kernel/script/HxCommandTable.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "quarn/kernel/script/detail/commandListing.h"

/// Every command of every table, with words that nobody means well.
namespace {

using quarn::detail::commandListing;

const QStringList kHostile{"\"",
                           "[set ::executed 1]",
                           "$::executed",
                           "{",
                           "}",
                           "a; set ::executed 1",
                           "%s%n%1$s",
                           "%1 %2",
                           QString(1 << 20, 'x'),
                           QStringLiteral("a\nb\tc\x1b[31m"),
                           QString::fromUtf8("中文"),
                           "-1",
                           "99999999999999999999",
                           "../../nothing",
                           QStringLiteral("--\x1b[31m") + QString(5000, 'y'),
                           ""};

/// Words as one command of a script.
QString scriptOf(const QStringList& words) {
  std::vector<std::string> texts;
  std::vector<const char*> pointers;
  for (const QString& word : words) texts.push_back(word.toStdString());
  for (const std::string& text : texts) pointers.push_back(text.c_str());
  char* const merged = Tcl_Merge(static_cast<int>(pointers.size()), pointers.data());
  const QString script = QString::fromUtf8(merged);
  Tcl_Free(merged);
  return script;
}

/// What a command left: "ok", or the message of its failure.
struct Answer {
  bool fails = false;
  std::string message, console;
};

Answer run(const QStringList& words) {
  const HxRecordingSink sink;
  const auto error = HxInterpreter::instance().evaluate(scriptOf(words));
  return {error.has_value(), error ? error->message.toStdString() : std::string(), sink.consoleText()};
}

QString valueOf(const QString& script) {
  const HxRecordingSink unheard;
  const auto error = HxInterpreter::instance().evaluate(script);
  EXPECT_FALSE(error) << script.toStdString() << error->message.toStdString();
  return HxInterpreter::instance().result();
}

/// One word of every text may be cut, but none goes on for ever, and a terminal is not given orders.
void expectDecent(const std::string& text) {
  EXPECT_LT(text.size(), 3000U) << text.substr(0, 300);
  for (const char c : text)
    if (static_cast<unsigned char>(c) < 0x20 && c != '\n') ADD_FAILURE() << "control character in " << text;
}

class HostileWords : public ::testing::Test {
protected:
  HostileWords() {
    valueOf(
        "set ::executed 0; create HxRois atlas; mask atlas A {0 3 0 3 0 3}; mask atlas B {2 5 2 5 2 5};"
        "mask atlas C; atlas createGroup G C; labels field 1 {0 1 0 1 0 1}; atlas data connect field;"
        "atlas parameters set Note text; atlas fire");
    for (const QString& name : valueOf("classes").split(' '))
      if (name != "HxRois") valueOf("create " + name + " an" + name);
    before_ = everything();
  }

  ~HostileWords() override {
    EXPECT_EQ(valueOf("set ::executed"), "0");
    EXPECT_EQ(everything().toStdString(), before_.toStdString());
  }

  /// Names, labels, parameters, states of all ports, and all of the set.
  static QString everything() {
    return valueOf(
        "set all [dump atlas]; foreach object [objects] { append all \\n $object [$object getLabel]\n"
        "  catch {append all [$object parameters list]}\n"
        "  foreach port [$object ports] { append all \\n $port [$object $port getState] [$object $port isVisible]\n"
        "    catch {append all [$object $port source]} } }; set all");
  }

  const Workbench workbench_;

private:
  QString before_;
};

/// All commands that are listed behind the words that lead to them: of an object, its ports, parameters, ROIs.
void listAll(HxObject& object, const QStringList& path, std::vector<std::pair<QStringList, HxCmdEntry>>& found) {
  const HxCmdInfo info = commandListing(object, path);
  for (int i = 0; i < info.size(); ++i)
    if (!info[i].isPlaceholder() && !info.leads().contains(info[i].name)) found.emplace_back(path, info[i]);
  for (const QString& lead : info.leads()) listAll(object, path + QStringList{lead}, found);
}

std::vector<std::pair<QStringList, HxCmdEntry>> allCommands() {
  std::vector<std::pair<QStringList, HxCmdEntry>> found;
  for (const McHandle<HxObject>& object : HxObjectPool::instance().objects())
    listAll(*object, {object->getName()}, found);
  return found;
}

QStringList repeated(const QString& word, int count) {
  return QStringList(count, word);
}

/// Those that tell their own syntax, by the number of words.
const std::map<QString, std::string> kSyntax{
    {"invertMasks", "syntax: invertMasks <mask> <masks...>"},
    {"substractMasks", "syntax: substractMasks <fromMask> <masks...>"},
    {"mergeMasks", "syntax: mergeMasks <toMask> <masks...>"},
    {"removeRois", "syntax: removeRois <roiName...>"},
    {"createAndInsertRoiFrom", "createAndInsertRoiFrom: wrong number of arguments"},
    {"getId", "syntax: getId <roiName>"},
    {"clearGroups", "syntax: clearGroup <groupName...>"},
    {"createGroup", "syntax: createGroup <group> <masks...>"},
    {"moveToGroup", "syntax: moveToGroup <group> <masks...>"},
    {"renameRoi", "syntax: renameRoi <roiName> <newName>"},
    {"getMaskVoxelCount", "syntax: getMaskVoxelCount <mask>"},
    {"getMaskVoxelBox", "syntax: getMaskVoxelBox <mask>"},
    {"setRoiVisible", "syntax: setRoiVisible <name_or_id> <new_visibility>"},
    {"isRoiVisible", "syntax: isRoiVisible <name_or_id>"}};

std::string usageOf(const QStringList& path, const HxCmdEntry& entry) {
  const auto own = kSyntax.find(entry.name);
  const bool tellsItsOwn = entry.of == "HxRois" || entry.of == "HxPortRoiTreeView";
  if (tellsItsOwn && own != kSyntax.end()) return own->second;
  const QString words = entry.words().isEmpty() ? QString() : ' ' + entry.words();
  return ("usage: " + path.back() + ' ' + entry.name + words).toStdString();
}

/// Take any text whatever.
bool takesAnyText(const HxCmdEntry& entry, const QStringList& path) {
  static const QStringList free{"setLabel", "setState", "setText", "set", "save"};
  return free.contains(entry.name) || (entry.name == "setValue" && path.back() == "mask");
}

/// Numbers are what some want, and a name may be any number of letters, digits and dashes.
bool isGood(const HxCmdEntry& entry, const QString& word) {
  static const QStringList numbers{"setValue", "setMinMax", "createGroup"};
  const bool isNumber = word == "-1" || word.startsWith('9');
  return (isNumber && numbers.contains(entry.name)) || (entry.name == "createGroup" && word.startsWith('x'));
}

TEST_F(HostileWords, TooFewAndTooManyShowTheUsage) {
  int checked = 0;
  for (const auto& [path, entry] : allCommands()) {
    if (!entry.text) continue;
    for (const int count : {entry.text->minWords - 1, entry.text->maxWords < 0 ? -1 : entry.text->maxWords + 1}) {
      if (count < 0) continue;
      ++checked;
      const Answer answer = run(path + QStringList{entry.name} + repeated("word", count));
      EXPECT_TRUE(answer.fails) << path.join(' ').toStdString() << ' ' << entry.name.toStdString();
      EXPECT_EQ(answer.message, usageOf(path, entry)) << path.join(' ').toStdString();
    }
  }
  EXPECT_GT(checked, 300);
}

TEST_F(HostileWords, AreNeverExecutedAndChangeNothing) {
  int checked = 0;
  for (const auto& [path, entry] : allCommands()) {
    if (!entry.text || takesAnyText(entry, path)) continue;
    const int most = entry.text->maxWords < 0 ? entry.text->minWords + 1 : entry.text->maxWords;
    for (int count = std::max(entry.text->minWords, 1); count <= most; ++count) {
      for (const QString& word : kHostile) {
        if (isGood(entry, word)) continue;
        SCOPED_TRACE(path.join(' ').toStdString() + ' ' + entry.name.toStdString() + ' ' + word.left(40).toStdString());
        ++checked;
        const Answer answer = run(path + QStringList{entry.name} + repeated(word, count));
        expectDecent(answer.message);
        expectDecent(answer.console);
        EXPECT_TRUE(!answer.fails || !answer.message.empty());
      }
    }
  }
  EXPECT_GT(checked, 1000);
}

TEST_F(HostileWords, AreNoCommands) {
  std::vector<QStringList> paths;
  for (const auto& [path, entry] : allCommands())
    if (paths.empty() || paths.back() != path) paths.push_back(path);
  for (const QStringList& path : paths) {
    for (const QString& word : kHostile) {
      if (word.isEmpty()) continue;  // stands for none: help
      const Answer answer = run(path + QStringList{word, "more"});
      EXPECT_TRUE(answer.fails);
      expectDecent(answer.message);
      EXPECT_THAT(answer.message, ::testing::HasSubstr(McException::excerpt(word.toStdString())))
          << path.join(' ').toStdString();
    }
  }
}

/// The texts of a set for a name that no ROI has. %W stands for the name.
const std::vector<std::pair<QStringList, std::string>> kUnknownName{
    {{"getMaskBoundingBox", "%W"}, "no such mask %W"},
    {{"invertMasks", "%W"}, "atlas does not contains a mask named %W."},
    {{"invertMasks", "A", "%W"}, "atlas does not contains a mask named %W."},
    {{"substractMasks", "%W", "A"}, "atlas does not contains a mask named %W."},
    {{"substractMasks", "A", "%W"}, "atlas does not contains a mask named %W."},
    {{"mergeMasks", "A", "%W"}, "atlas does not contains a mask named %W."},
    {{"splitMask", "%W"}, "atlas does not contains a mask named %W."},
    {{"copyAndInsertMasksFrom", "%W"}, "No such object"},
    {{"createAndInsertRoiFrom", "%W"}, "No such object"},
    {{"getId", "%W"}, "Roi %W doesn't exist"},
    {{"createGroup", "%W"}, "Invalid name: can only contains alpha numerics, underscores and dashes."},
    {{"createGroup", "H", "A", "%W"}, "atlas does not contains a mask named %W."},
    {{"moveToGroup", "G", "A", "%W"}, "atlas does not contains a mask named %W."},
    {{"renameRoi", "%W", "D"}, "Roi %W doesn't exist"}};

TEST_F(HostileWords, AreToldByASetAsTheyAre) {
  for (const auto& [words, text] : kUnknownName) {
    for (const QString& word : kHostile) {
      if (word.isEmpty() || word == "-1" || word.startsWith('9') || word.startsWith('x')) continue;
      QStringList given{"atlas"};
      for (const QString& each : words) given += each == "%W" ? word : each;
      const std::string shown = McException::excerpt(word.toStdString());
      std::string expected = text;
      if (const auto at = expected.find("%W"); at != std::string::npos) expected.replace(at, 2, shown);
      const Answer answer = run(given);
      EXPECT_TRUE(answer.fails) << given.join(' ').toStdString();
      EXPECT_EQ(answer.message, expected) << given.join(' ').toStdString();
    }
  }
}

TEST_F(HostileWords, LongNamesAreCut) {
  const std::string shown = std::string(200, 'x') + "...";
  const QString word(1 << 20, 'x');
  EXPECT_EQ(run({"atlas", "mergeMasks", "A", word}).message, "atlas does not contains a mask named " + shown + ".");
  EXPECT_EQ(run({"atlas", "getId", word}).message, "Roi " + shown + " doesn't exist");
  EXPECT_EQ(run({"atlas", "getMaskBoundingBox", word}).message, "no such mask " + shown);
}

TEST_F(HostileWords, OfHostCommandsAreRefused) {
  // Not those that take any script or name of a command.
  const QStringList others{"nameResult", "rename", "recover", "objects", "classes", "voxels",
                           "mask",       "labels", "dump",    "clear",   "exit",    "reference"};
  for (const HxCommandRow& row : HxCommandTable::instance().rows()) {
    if (row.minWords > 0) {
      EXPECT_EQ(run({row.name}).message, ("usage: " + row.synopsis()).toStdString());
    }
    if (row.maxWords >= 0) {
      const Answer answer = run(QStringList{row.name} + repeated("word", row.maxWords + 1));
      EXPECT_EQ(answer.message, ("usage: " + row.synopsis()).toStdString());
    }
    if (others.contains(row.name)) continue;
    for (const QString& word : kHostile) {
      SCOPED_TRACE(row.name.toStdString() + ' ' + word.left(40).toStdString());
      const Answer answer = run({row.name, word});
      EXPECT_TRUE(answer.fails);
      expectDecent(answer.message);
    }
  }
}

}  // namespace
