#include "quarn/kernel/script/detail/hostCommands.h"

#include <QFileInfo>
#include <algorithm>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxFileHelpers.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/io/HxRecovery.h"
#include "quarn/kernel/network/HxNetwork.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/objects/unsavedData.h"
#include "quarn/kernel/ports/HxConnection.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "quarn/kernel/script/creatableClasses.h"
#include "quarn/kernel/script/detail/TclText.h"
#include "quarn/kernel/script/detail/scriptReference.h"

namespace quarn::detail {
namespace {

std::string excerpt(const QString& text) {
  return McException::excerpt(text.toStdString());
}

/// The names that match the pattern in the only word of a call (all without one), sorted; patterns as in `string
/// match`.
QStringList matching(const HxCommandCall& call, QStringList names) {
  names.sort();
  if (call.words().isEmpty()) return names;
  const std::string pattern = toTcl(call.words().front());
  names.removeIf([&](const QString& name) { return !Tcl_StringMatch(toTcl(name).c_str(), pattern.c_str()); });
  return names;
}

/// True when "-force" stands before the `count` other words of the call, false without it.
bool isForced(const HxCommandCall& call, qsizetype count) {
  const QStringList& words = call.words();
  if (words.size() == count) return false;
  if (words.front() == QLatin1String("-force") && words.size() == count + 1) return true;
  throw McException("unknown option \"" + excerpt(words.front()) + "\": -force is expected");
}

/// Runs the words as a command of Tcl.
bool evaluate(HxCommandCall& call, const QStringList& words) {
  Tcl_Obj* const list = newTclList(words);
  Tcl_IncrRefCount(list);
  const int code = Tcl_EvalObjEx(call.interp(), list, TCL_EVAL_DIRECT);
  Tcl_DecrRefCount(list);
  return code == TCL_OK;
}

// --- load

void load(HxCommandCall& call) {
  const QStringList& words = call.words();
  call.setResult(HxFileTypes::instance().load(words.front(), HxLoadOptions::fromWords(words.mid(1))));
}

// --- objects

void create(HxCommandCall& call) {
  const QStringList& words = call.words();
  const McHandle<HxObject> object = HxObject::create(words.front());
  HxObjectPool::instance().add(object, words.value(1));
  call.setResult(object->getName());
}

HxObject* requireObject(const QString& name) {
  if (HxObject* object = HxObjectPool::instance().find(name)) return object;
  throw McException("there is no object \"" + excerpt(name) + "\"");
}

/// Objects that hang on `object` by a tight connection go with it; unsaved ones must be named, too.
void requireNothingLost(const HxObject& object, const std::vector<McHandle<HxObject>>& named) {
  for (const HxConnection* connection : object.downstreamConnections()) {
    auto* const data = dynamic_cast<HxData*>(connection->owner());
    if (!connection->isTight() || !data || !data->isInPool() || !data->isModified()) continue;
    if (std::find(named.begin(), named.end(), data) != named.end()) continue;
    throw McException(toTcl(object.getName()) + ": " + toTcl(data->getName()) + " would go with it and is not saved; " +
                      "save it, disconnect it, or name it, too");
  }
}

void remove(HxCommandCall& call) {
  std::vector<McHandle<HxObject>> objects;
  for (const QString& name : call.words()) objects.push_back(requireObject(name));
  for (const McHandle<HxObject>& object : objects) requireNothingLost(*object, objects);
  for (const McHandle<HxObject>& object : objects) HxObjectPool::instance().remove(object);
}

/// Objects keep their commands: they are renamed and removed as objects, all else as Tcl does it.
void rename(HxCommandCall& call) {
  const QString& name = call.words()[0];
  const QString& newName = call.words()[1];
  HxObject* const object = HxObjectPool::instance().find(name);
  if (object && newName.isEmpty()) {
    requireNothingLost(*object, {});
    HxObjectPool::instance().remove(object);
  } else if (object) {
    if (newName != name && HxInterpreter::instance().isCommand(newName))
      throw McException("can't rename to \"" + excerpt(newName) + "\": command already exists");
    call.setResult(HxObjectPool::instance().rename(object, newName));
  } else if (!evaluate(call, {HxCommandTable::tclRename(), name, newName})) {
    throw McException(Tcl_GetStringResult(call.interp()));
  }
}

void objects(HxCommandCall& call) {
  QStringList names;
  for (const McHandle<HxObject>& object : HxObjectPool::instance().objects()) names.append(object->getName());
  call.setResult(matching(call, names));
}

void classes(HxCommandCall& call) {
  call.setResult(matching(call, creatableClasses()));
}

/// Nothing is removed while something unsaved would go, unless `-force` is given.
void clear(HxCommandCall& call) {
  const bool force = isForced(call, 0);
  const QStringList unsaved = unsavedData();
  if (!unsaved.isEmpty() && !force)
    throw McException("not saved: " + toTcl(unsaved.join(", ")) + "; save or remove what is wanted, or give -force");
  HxObjectPool::instance().clear();
}

// --- networks

void saveNetwork(HxCommandCall& call) {
  const bool force = isForced(call, 1);
  for (const QString& lost : HxNetwork::save(call.words().back(), force))
    HxMessage::printf("Not in the network: %s", lost.toStdString().c_str());
}

void nameResult(HxCommandCall& call) {
  if (Tcl_Eval(call.interp(), toTcl(call.words()[1]).c_str()) != TCL_OK)
    throw McException(Tcl_GetStringResult(call.interp()));
  HxObject* const object = requireObject(fromTcl(Tcl_GetObjResult(call.interp())));
  call.setResult(HxObjectPool::instance().rename(object, call.words().front()));
}

// --- preferences

/// A folder that nothing can be written into would be noticed only where the first mask needs it.
void requireUsable(const QString& key, const QString& value) {
  if (key.simplified().compare(QLatin1String("Temporary Directory"), Qt::CaseInsensitive) != 0 || value.isEmpty())
    return;
  const char* const why = !QFileInfo::exists(value)           ? "there is no such folder"
                          : !QFileInfo(value).isDir()         ? "is not a folder"
                          : !HxFileHelpers::isWritable(value) ? "nothing can be written into this folder"
                                                              : nullptr;
  if (why) throw McException("preference \"Temporary Directory\": " + excerpt(value) + ": " + why);
}

void preferences(HxCommandCall& call) {
  const QStringList& words = call.words();
  HxPreferences& preferences = *HxApplication::instance()->settings()->getPreferences();
  if (words.isEmpty()) {
    for (const QString& key : HxPreferences::keys())
      HxMessage::printf("%-40s %s", qUtf8Printable(key), qUtf8Printable(preferences.get(key)));
  } else if (words.front() == QLatin1String("get") && words.size() == 1) {
    call.setResult(HxPreferences::keys());
  } else if (words.front() == QLatin1String("get") && words.size() == 2) {
    call.setResult(preferences.get(words[1]));
  } else if (words.front() == QLatin1String("set") && words.size() == 3) {
    requireUsable(words[1], words[2]);
    preferences.set(words[1], words[2]);
  } else {
    throw McException("usage: preferences, preferences get ?KEY?, preferences set KEY VALUE");
  }
}

// --- recover

QStringList leftOverTexts() {
  QStringList texts;
  for (const HxLeftOver& leftOver : HxRecovery::instance().list()) texts.append(leftOver.toText());
  return texts;
}

QStringList loadLeftOvers() {
  HxRecovery& recovery = HxRecovery::instance();
  const QStringList names = recovery.load();
  recovery.keepLoaded();
  return names;
}

void recover(HxCommandCall& call) {
  const QString& word = call.words().front();
  if (word == QLatin1String("list")) return call.setResult(leftOverTexts());
  if (word == QLatin1String("load")) return call.setResult(loadLeftOvers());
  if (word == QLatin1String("discard")) return call.setResult(QString::number(HxRecovery::instance().discardAll()));
  throw McException("usage: recover list|load|discard");
}

// --- help, exit

void helpOfAll() {
  for (const HxCommandRow& row : HxCommandTable::instance().rows())
    HxMessage::printf("%s", row.synopsis().toStdString().c_str());
  HxMessage::printf(
      "Type \"help COMMAND\" for one of them, \"OBJECT help ?COMMAND?\" for an object, "
      "\"OBJECT PORT help ?COMMAND?\" for a port.");
}

/// "help OBJECT ..." is "OBJECT help ...".
void helpOfObject(HxCommandCall& call, HxObject& object) {
  const McHandle<HxObject> alive(&object);
  const auto parse = [&](Tcl_Interp* interp, int argc, char** argv) { return alive->parse(interp, argc, argv); };
  Tcl_Obj* const list = newTclList(QStringList{call.words().front(), "help"} + call.words().mid(1));
  Tcl_IncrRefCount(list);
  int count = 0;
  Tcl_Obj** words = nullptr;
  Tcl_ListObjGetElements(nullptr, list, &count, &words);
  const int code = HxInterpreter::call(parse, call.interp(), count, words);
  Tcl_DecrRefCount(list);
  if (code != TCL_OK) throw McException(Tcl_GetStringResult(call.interp()));
}

void help(HxCommandCall& call) {
  if (call.words().isEmpty()) return helpOfAll();
  const QString& name = call.words().front();
  if (HxObject* const object = HxObjectPool::instance().find(name)) return helpOfObject(call, *object);
  const HxCommandRow* const row = HxCommandTable::instance().find(name);
  if (!row) throw McException("there is no command \"" + excerpt(name) + "\"");
  HxMessage::printf("%s\n    %s", row->synopsis().toStdString().c_str(), row->help.toStdString().c_str());
}

void reference(HxCommandCall& call) {
  call.setResult(scriptReference());
}

void exit(HxCommandCall& call) {
  int status = 0;
  const QString word = call.words().value(0, QStringLiteral("0"));
  bool isNumber = false;
  status = word.toInt(&isNumber);
  if (!isNumber || status < 0 || status > 255)
    throw McException("exit: a status from 0 to 255 is expected, got \"" + excerpt(word) + "\"");
  HxInterpreter::instance().requestExit(status);
  throw McException("exit");
}

}  // namespace

std::vector<HxCommandRow> hostCommands() {
  const auto row = [](const char* name, const char* words, int minWords, int maxWords, const char* help,
                      auto* handler) {
    return HxCommandRow{
        QString::fromLatin1(name), QString::fromLatin1(words), minWords, maxWords, QString::fromLatin1(help), handler};
  };
  return {
      row("load", "FILE ?-as NAME? ?-labels FILE? ?-colors FILE? ?-kind scalar|label? ?-values RANGES?", 1, 11,
          "Loads a file and returns the names of its objects. -as names the object; -labels reads the names of labels, "
          "and colours if it has them, from a file, -colors the colours from another one; -kind says how an image is "
          "meant; -values keeps some label values only, as in 1-90,95.",
          load),
      row("create", "CLASS ?NAME?", 1, 2, "Makes an object of a class and returns its name.", create),
      row("remove", "NAME...", 1, -1, "Removes objects. Nothing is removed when one of them does not exist.", remove),
      row("clear", "?-force?", 0, 1,
          "Removes all objects. Without -force nothing is removed while one of them is not saved.", clear),
      row("saveNetwork", "?-force? FILE", 1, 2,
          "Saves the objects, their connections and the states of their ports as a script, FILE.quarn, which load "
          "runs. "
          "Data stay in their own files; nothing is written while some of them are not saved, unless -force is given.",
          saveNetwork),
      row("nameResult", "NAME SCRIPT", 2, 2,
          "Runs a script that returns the name of an object, gives the object another name and returns it.",
          nameResult),
      row("objects", "?PATTERN?", 0, 1, "Returns the names of the objects, all or those that match, sorted.", objects),
      row("classes", "?PATTERN?", 0, 1, "Returns the classes that create can make, all or those that match, sorted.",
          classes),
      row("preferences", "?get ?KEY? | set KEY VALUE?", 0, 3,
          "Returns or sets a preference, for this run; get without a key returns the keys, and without a word all of "
          "them "
          "are printed with their values.",
          preferences),
      row("recover", "list|load|discard", 1, 1,
          "Work that earlier runs left in the temporary storage when they were cut off: list returns a line for each "
          "piece, load makes objects of what it has not loaded yet and returns their names, discard removes all of it "
          "and returns the number of pieces. What was loaded stays in the storage, too: discard it once it is saved. "
          "What running programs have there is not touched.",
          recover),
      row("rename", "OLD NEW", 2, 2,
          "Gives an object another name and returns it, and removes it for an empty one; renames any other command as "
          "Tcl does.",
          rename),
      row("help", "?COMMAND | OBJECT ?COMMAND??", 0, 2,
          "Shows the commands, or what one of them does; of an object what it knows.", help),
      row("reference", "", 0, 0, "Returns the page of all commands, of objects and ports too, as Markdown.", reference),
      row("exit", "?STATUS?", 0, 1, "Ends the program with a status from 0 to 255, 0 unless given.", exit),
  };
}

}  // namespace quarn::detail
