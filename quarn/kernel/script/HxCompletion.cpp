#include "quarn/kernel/script/HxCompletion.h"

#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/objects/HxObject.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/ports/HxPort.h"
#include "quarn/kernel/script/HxCommandTable.h"
#include "quarn/kernel/script/HxCommands.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "quarn/kernel/script/detail/CmdInfoScope.h"
#include "quarn/kernel/script/detail/hostCommands.h"

namespace HxCompletion {

namespace {

/// The commands that an object or port knows: asked without a word it lists them, unheard here.
template <class Commanded>
QStringList commandsOf(Commanded& commanded, const QString& name) {
  const quarn::detail::CmdInfoScope list;
  const HxRecordingSink unheard;
  std::string word = name.toStdString();
  char* words[] = {word.data(), nullptr};
  commanded.parse(HxInterpreter::instance().tclInterp(), 1, words);
  QStringList names;
  for (int i = 0; i < getCmdInfo().size(); ++i) {
    // What stands for others is in capitals.
    const QString& command = getCmdInfo()[i].name;
    if (command != command.toUpper()) names += command;
  }
  return names;
}

QStringList portsOf(const HxObject& object) {
  QStringList names;
  for (const HxPort* port : object.ports()) names += port->getName();
  return names;
}

QStringList objectNames() {
  return HxInterpreter::instance().objectNames();
}

QStringList hostCommands() {
  QStringList names;
  for (const HxCommandRow& row : HxCommandTable::instance().rows()) names += row.name;
  return names;
}

QStringList afterObject(HxObject& object, const QStringList& words) {
  if (words.size() == 1) return commandsOf(object, words[0]) + portsOf(object);
  HxPort* const port = object.findPort(words[1]);
  if (port && words.size() == 2) return commandsOf(*port, words[1]);
  if (port && words.size() == 3 && words[2] == QLatin1String("connect")) return objectNames();
  return {};
}

QStringList afterHostCommand(const QStringList& words) {
  const bool isFirst = words.size() == 1;
  if (words[0] == QLatin1String("create") && isFirst) return quarn::detail::creatableClasses();
  if (words[0] == QLatin1String("remove")) return objectNames();
  if (words[0] == QLatin1String("help") && isFirst) return hostCommands();
  if (words[0] == QLatin1String("preferences") && isFirst) return {QStringLiteral("get"), QStringLiteral("set")};
  if (words[0] == QLatin1String("recover") && isFirst)
    return {QStringLiteral("discard"), QStringLiteral("list"), QStringLiteral("load")};
  return {};
}

}  // namespace

QStringList wordsAfter(const QStringList& words) {
  if (words.isEmpty()) return {};
  HxObject* const object = HxObjectPool::instance().find(words[0]);
  QStringList next = object ? afterObject(*object, words) : afterHostCommand(words);
  next.sort();
  next.removeDuplicates();
  return next;
}

}  // namespace HxCompletion
