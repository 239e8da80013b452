#include "quarn/app/completions.h"

#include <algorithm>
#include <cstring>
#include <tcl.h>

#include "quarn/kernel/script/HxCompletion.h"
#include "quarn/kernel/script/HxInterpreter.h"

namespace quarn::app {
namespace {

/// Commands that begin with `prefix`: Tcl's, the host's and those of objects.
std::vector<QByteArray> commandsWith(const QByteArray& prefix) {
  Tcl_Interp* const interp = HxInterpreter::instance().tclInterp();
  QByteArray pattern;
  for (const char c : prefix) pattern.append(std::strchr("*?[]\\", c) ? "\\" : "").append(c);
  Tcl_Obj* words[] = {Tcl_NewStringObj("info", -1), Tcl_NewStringObj("commands", -1),
                      Tcl_NewStringObj((pattern + '*').constData(), -1)};
  for (Tcl_Obj* word : words) Tcl_IncrRefCount(word);
  std::vector<QByteArray> names;
  if (Tcl_EvalObjv(interp, 3, words, TCL_EVAL_GLOBAL) == TCL_OK) {
    int count = 0;
    Tcl_Obj** found = nullptr;
    Tcl_ListObjGetElements(interp, Tcl_GetObjResult(interp), &count, &found);
    for (int i = 0; i < count; ++i) names.emplace_back(Tcl_GetString(found[i]));
  }
  for (Tcl_Obj* word : words) Tcl_DecrRefCount(word);
  Tcl_ResetResult(interp);
  return names;
}

/// The first word, as `$name`, stands for what a variable of that name holds.
QStringList withValueOfVariable(QStringList words) {
  if (!words.front().startsWith('$')) return words;
  const QByteArray name = words.front().mid(1).toUtf8();
  const char* const value = Tcl_GetVar(HxInterpreter::instance().tclInterp(), name.constData(), TCL_GLOBAL_ONLY);
  if (value) words.front() = QString::fromUtf8(value);
  return words;
}

bool isPlainInQuotes(const QByteArray& name) {
  return std::ranges::none_of(name, [](char c) { return std::strchr("\"$[\\", c) != nullptr; });
}

/// A name as Tcl takes it for one word.
QByteArray asWord(const QByteArray& name) {
  int flags = 0;
  QByteArray word(Tcl_ScanElement(name.constData(), &flags) + 1, '\0');
  word.resize(Tcl_ConvertElement(name.constData(), word.data(), flags));
  // The prompt goes on inside of quotation marks; braces it takes for those of a script.
  return word != name && isPlainInQuotes(name) ? '"' + name + '"' : word;
}

}  // namespace

std::vector<QByteArray> completions(const TypedLine& line, const QByteArray& begun) {
  std::vector<QByteArray> names;
  if (line.words.isEmpty()) {
    names = commandsWith(begun);
  } else {
    for (const QString& word : HxCompletion::wordsAfter(withValueOfVariable(line.words)))
      names.push_back(word.toUtf8());
  }
  std::erase_if(names, [&](const QByteArray& name) {
    return !name.startsWith(begun) || (line.isQuoted && !isPlainInQuotes(name));
  });
  if (!line.isQuoted) std::ranges::transform(names, names.begin(), asWord);
  return names;
}

}  // namespace quarn::app
