#include <QFileInfo>
#include <algorithm>
#include <array>
#include <utility>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/HxStandardColormaps.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/network/HxNetwork.h"
#include "quarn/kernel/network/detail/NetworkReader.h"
#include "quarn/kernel/objects/HxCompModule.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/ports/HxPortColormap.h"
#include "quarn/kernel/ports/HxPortObjects.h"
#include "quarn/kernel/script/HxCommands.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "quarn/kernel/script/detail/TclText.h"

/// \file
/// What the commands of a network do.

namespace quarn::detail {
namespace {

std::string excerpt(const QString& text) {
  return McException::excerpt(text.toStdString());
}

QStringList texts(const std::vector<Tcl_Obj*>& words) {
  QStringList list;
  for (Tcl_Obj* word : words) list += fromTcl(word);
  return list;
}

void requireCount(const QStringList& words, qsizetype least, qsizetype most, const char* usage) {
  if (words.size() < least || words.size() > most) throw McException(std::string("usage: ") + usage);
}

/// The value behind an option; empty without one.
QString optionOf(const QStringList& words, const QString& option) {
  const qsizetype i = words.indexOf(option);
  return i < 0 ? QString() : words.value(i + 1);
}

/// Keeps words of a command alive that were made for it.
class NewWord {
public:
  explicit NewWord(const QString& text) : word_(newTclText(text)) { Tcl_IncrRefCount(word_); }
  ~NewWord() { Tcl_DecrRefCount(word_); }
  NewWord(const NewWord&) = delete;
  NewWord& operator=(const NewWord&) = delete;
  operator Tcl_Obj*() const { return word_; }

private:
  Tcl_Obj* const word_;
};

}  // namespace

// --- Objects come

QString NetworkReader::fromFolder(const QString& file) const {
  return QFileInfo(file).isRelative() ? folder_ + "/" + file : file;
}

int NetworkReader::load(const Words& words) {
  QStringList rest = texts(words).mid(1);
  requireCount(rest, 1, 11, "load FILE ?-as NAME? ?-labels FILE? ?-colors FILE? ?-kind scalar|label? ?-values RANGES?");
  const QString file = fromFolder(rest.takeFirst());
  const QString name = optionOf(rest, "-as");
  for (const char* const option : {"-labels", "-colors"}) {
    const qsizetype at = rest.indexOf(option);
    if (at >= 0 && at + 1 < rest.size()) rest[at + 1] = fromFolder(rest[at + 1]);
  }
  QStringList loaded;
  try {
    if (HxNetwork::hasSuffix(file)) throw McException(excerpt(file) + ": a network cannot load another one");
    loaded = HxFileTypes::instance().load(file, HxLoadOptions::fromWords(rest));
  } catch (...) {
    miss(name);
    throw;
  }
  QStringList bound;
  for (const QString& object : loaded)
    bound += bind(loaded.size() == 1 && !name.isEmpty() ? name : object, HxObjectPool::instance().find(object));
  answer(bound);
  return TCL_OK;
}

int NetworkReader::create(const Words& words) {
  const QStringList rest = texts(words).mid(1);
  requireCount(rest, 1, 2, "create CLASS ?NAME?");
  const QString name = rest.value(1);
  McHandle<HxObject> object;
  try {
    object = HxObject::create(rest.front());
  } catch (...) {
    miss(name);
    throw;
  }
  HxObjectPool::instance().add(object, name);
  answer({bind(name.isEmpty() ? object->getName() : name, object)});
  return TCL_OK;
}

int NetworkReader::nameResult(const Words& words) {
  const QStringList rest = texts(words).mid(1);
  requireCount(rest, 2, 2, "nameResult NAME SCRIPT");
  const QString& name = rest.front();
  if (const int code = Tcl_EvalObjEx(interp_, words[2], 0); code != TCL_OK) {
    miss(name);
    return code;
  }
  const QString made = fromTcl(Tcl_GetObjResult(interp_));
  auto* const data = dynamic_cast<HxData*>(HxObjectPool::instance().find(made));
  // A network must not get hold of what it has not brought about.
  if (!data || !isOurs(data->baseConnection.source())) {
    miss(name);
    throw McException("\"" + excerpt(made) + "\" is no result of a module of this network");
  }
  if (HxObjectPool::instance().uniqueName(name) == name) HxObjectPool::instance().rename(data, name);
  answer({bind(name, data)});
  return TCL_OK;
}

int NetworkReader::refuse(const Words& words) {
  throw McException("a network has no command or object \"" + excerpt(texts(words).value(1)) + "\"");
}

// --- Commands of objects

int NetworkReader::runObject(Entry& entry, const Words& words) {
  if (!entry.object) return skip(entry);
  const McHandle<HxObject> object = entry.object;
  if (!object->isInPool()) throw McException(excerpt(entry.name) + " is not there any more");
  const QString word = texts(words).value(1);
  if (words.size() > 2 && object->findPort(word)) return runPort(entry, words);
  if (words.size() > 3 && word == "optional") return runOptional(entry, words);
  if (word == "resultOf") return adopt(entry, words);
  static constexpr std::array kAllowed = {"fire",     "compute",  "getResult", "getLabel",
                                          "setLabel", "getClass", "ports",     "disconnectAll"};
  if (std::find(kAllowed.begin(), kAllowed.end(), word) == kAllowed.end())
    throw McException(excerpt(entry.name) + ": \"" + excerpt(word) +
                      "\" is neither a port of it nor a command of networks");
  const auto parse = [object](Tcl_Interp* interp, int argc, char** argv) { return object->parse(interp, argc, argv); };
  return HxInterpreter::call(parse, interp_, static_cast<int>(words.size()), words.data());
}

/// A command of a port that the object may have or not.
int NetworkReader::runOptional(const Entry& entry, Words words) {
  words.erase(words.begin() + 1);
  const QString port = fromTcl(words[1]);
  if (entry.object->findPort(port)) return runPort(entry, std::move(words));
  HxMessage::printf("%s: %s has no port \"%s\" here; what is for it is passed over.",
                    excerpt(QFileInfo(file_).fileName()).c_str(), excerpt(entry.name).c_str(), excerpt(port).c_str());
  return TCL_OK;
}

int NetworkReader::runPort(const Entry& entry, Words words) {
  if (words.size() == 4 && fromTcl(words[2]) == "connect") return connect(entry, std::move(words));
  const McHandle<HxObject> object = entry.object;
  if (words.size() == 5 && dynamic_cast<HxPortObjects*>(object->findPort(fromTcl(words[1]))))
    return addToPort(entry, std::move(words));
  const auto parse = [object, name = fromTcl(words[1])](Tcl_Interp* interp, int argc, char** argv) {
    HxPort* const port = object->findPort(name);
    return port ? port->parse(interp, argc - 1, argv + 1) : TCL_ERROR;
  };
  return HxInterpreter::call(parse, interp_, static_cast<int>(words.size()), words.data());
}

/// The name behind "connect" is one of the network.
int NetworkReader::connect(const Entry& entry, Words words) {
  const QString name = fromTcl(words[3]);
  const auto found = entries_.find(name);
  QStringList changed;
  if (found != entries_.end()) {
    if (!found->second.object) return skip(found->second);
    changed = {"connect", found->second.object->getName()};
  } else if (HxStandardColormaps::instance().names().contains(name) &&
             dynamic_cast<HxPortColormap*>(entry.object->findPort(fromTcl(words[1])))) {
    changed = {"connectStandard", name};
  } else {
    throw McException("there is no object \"" + excerpt(name) + "\" in this network");
  }
  const NewWord command(changed[0]), source(changed[1]);
  const HxObject* const object = entry.object;
  const auto parse = [object, port = fromTcl(words[1])](Tcl_Interp* interp, int argc, char** argv) {
    return object->findPort(port)->parse(interp, argc - 1, argv + 1);
  };
  words[2] = command;
  words[3] = source;
  return HxInterpreter::call(parse, interp_, static_cast<int>(words.size()), words.data());
}

/// NAME PORT add OBJECT SETTINGS, where the object is one of the network.
int NetworkReader::addToPort(const Entry& entry, Words words) {
  const QString name = fromTcl(words[3]);
  const auto found = entries_.find(name);
  if (found == entries_.end()) throw McException("there is no object \"" + excerpt(name) + "\" in this network");
  if (!found->second.object) return skip(found->second);
  const NewWord present(found->second.object->getName());
  words[3] = present;
  const McHandle<HxObject> object = entry.object;
  const auto parse = [object, port = fromTcl(words[1])](Tcl_Interp* interp, int argc, char** argv) {
    return object->findPort(port)->parse(interp, argc - 1, argv + 1);
  };
  return HxInterpreter::call(parse, interp_, static_cast<int>(words.size()), words.data());
}

/// NAME resultOf MODULE ?SLOT?
int NetworkReader::adopt(const Entry& entry, const Words& words) {
  const QStringList rest = texts(words).mid(2);
  requireCount(rest, 1, 2, "NAME resultOf MODULE ?SLOT?");
  const auto found = entries_.find(rest.front());
  if (found != entries_.end() && !found->second.object) return skip(found->second);
  auto* const module = found == entries_.end() ? nullptr : dynamic_cast<HxCompModule*>(found->second.object.get());
  if (!module) throw McException("there is no module \"" + excerpt(rest.front()) + "\" in this network");
  auto* const data = dynamic_cast<HxData*>(entry.object.get());
  bool isNumber = true;
  const int slot = rest.size() > 1 ? rest[1].toInt(&isNumber) : 0;
  if (!isNumber) throw McException("resultOf: a number of a slot is expected, got \"" + excerpt(rest[1]) + "\"");
  if (!data || !module->adoptResult(slot, data))
    throw McException(excerpt(entry.name) + " cannot be a result of " + excerpt(rest.front()));
  return TCL_OK;
}

}  // namespace quarn::detail
