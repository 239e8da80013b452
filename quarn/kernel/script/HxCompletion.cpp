#include "quarn/kernel/script/HxCompletion.h"

#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/objects/HxObject.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/script/HxCommandTable.h"
#include "quarn/kernel/script/creatableClasses.h"
#include "quarn/kernel/script/detail/Synopsis.h"
#include "quarn/kernel/script/detail/commandListing.h"

namespace HxCompletion {

namespace {

using quarn::detail::commandListing;
using quarn::detail::Synopsis;
using Offers = QMap<QString, QStringList>;

/// What is offered everywhere.
Offers commonOffers() {
  QStringList commands;
  for (const HxCommandRow& row : HxCommandTable::instance().rows()) commands += row.name;
  return {{"OBJECT", HxInterpreter::instance().objectNames()},
          {"CLASS", creatableClasses()},
          {"COMMAND", commands},
          {"KEY", HxPreferences::keys()}};
}

/// Placeholders become what they stand for, where that is known; other words stand for themselves.
QStringList resolved(const QStringList& words, const Offers& offers) {
  QStringList result;
  for (const QString& word : words) {
    if (offers.contains(word)) {
      result += offers[word];
    } else if (!HxCmdEntry::isPlaceholder(word)) {
      result += word;
    }
  }
  return result;
}

QStringList commandsIn(const HxCmdInfo& info) {
  QStringList names = info.leads();
  for (int i = 0; i < info.size(); ++i)
    if (!info[i].isPlaceholder()) names += info[i].name;
  return names;
}

/// Follows the words that lead on to ports and the like, and completes what is behind them.
QStringList afterObject(HxObject& object, const QStringList& words) {
  qsizetype known = 1;
  HxCmdInfo info = commandListing(object, words.first(known));
  while (known < words.size() && info.leads().contains(words[known]))
    info = commandListing(object, words.first(++known));
  if (known == words.size()) return commandsIn(info);
  const HxCmdEntry* const entry = info.find(words[known]);
  if (!entry) return {};
  Offers offers = commonOffers();
  offers["COMMAND"] = commandsIn(info);
  offers.insert(info.offers());
  return resolved(Synopsis(entry->words()).after(words.mid(known + 1)), offers);
}

/// Host commands whose words depend on the first of them.
QStringList afterFirstWord(const QStringList& words) {
  const bool isFirst = words.size() == 1;
  if (words[0] == QLatin1String("remove")) return HxInterpreter::instance().objectNames();
  if (words[0] == QLatin1String("rename")) return isFirst ? HxInterpreter::instance().objectNames() : QStringList();
  if (words[0] == QLatin1String("help"))
    return isFirst ? commonOffers()["COMMAND"] + HxInterpreter::instance().objectNames() : QStringList();
  if (isFirst) return {QStringLiteral("get"), QStringLiteral("set")};
  return words.size() == 2 ? HxPreferences::keys() : QStringList();
}

QStringList afterHostCommand(const QStringList& words) {
  static const QStringList special{"remove", "rename", "help", "preferences"};
  if (special.contains(words[0])) return afterFirstWord(words);
  const HxCommandRow* const row = HxCommandTable::instance().find(words[0]);
  return row ? resolved(Synopsis(row->words).after(words.mid(1)), commonOffers()) : QStringList();
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
