#include "quarn/kernel/ports/HxPortColorList.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "quarn/kernel/ports/detail/colorText.h"
#include "quarn/kernel/script/HxCommands.h"

MC_ABSTRACT_CLASS_IMPL(HxPortColorList, HxPort)

using quarn::detail::colorFrom;
using quarn::detail::colorText;

namespace {

QStringList wordsOf(int argc, char** argv, int first) {
  QStringList words;
  for (int i = first; i < argc; ++i) words << QString::fromUtf8(argv[i]);
  return words;
}

/// -1 unless the word is a number.
int numberOf(const char* word) {
  bool isNumber;
  const int number = QString::fromUtf8(word).toInt(&isNumber);
  return isNumber ? number : -1;
}

}  // namespace

HxPortColorList::HxPortColorList(HxObject* owner, const QString& name, const QString& label, int count)
    : HxPort(owner, name, label), colors_(static_cast<std::size_t>(std::max(count, 1)), McColor(1, 1, 1)) {}

HxPortColorList::~HxPortColorList() = default;

const McColor& HxPortColorList::getColor(int i) const {
  return colors_[holds(i) ? static_cast<std::size_t>(i) : 0];
}

void HxPortColorList::setColor(int i, const McColor& color) {
  if (!holds(i) || getColor(i) == color) return;
  colors_[static_cast<std::size_t>(i)] = color;
  showColor(i);
  touch();
}

void HxPortColorList::getState(QString& state) const {
  QStringList texts;
  for (const McColor& color : colors_) texts << colorText(color);
  state = texts.join(' ');
}

bool HxPortColorList::setState(const QString& state) {
  const QStringList words = state.simplified().split(' ');
  if (words.size() != 3 * count()) return false;
  std::vector<McColor> colors;
  for (int i = 0; i < count(); ++i) {
    const std::optional<McColor> color = colorFrom(words, 3 * i);
    if (!color) return false;
    colors.push_back(*color);
  }
  for (int i = 0; i < count(); ++i) setColor(i, colors[static_cast<std::size_t>(i)]);
  return true;
}

int HxPortColorList::parse(Tcl_Interp* interp, int argc, char** argv) {
  const QString word = argc > 1 ? QString::fromUtf8(argv[1]) : QString();
  if (cmdCheck(word, "getColor", "?NUMBER?")) {
    const int go = cmdHelp(interp, argv[1], argc == 2 || argc == 3, argc, argv);
    return go == HX_CMD_GO_ON ? parseGetColor(interp, argc, argv) : go;
  }
  if (cmdCheck(word, "setColor", "?NUMBER? R G B")) {
    const int go = cmdHelp(interp, argv[1], argc == 5 || argc == 6, argc, argv);
    return go == HX_CMD_GO_ON ? parseSetColor(interp, argc, argv) : go;
  }
  return HxPort::parse(interp, argc, argv);
}

int HxPortColorList::parseGetColor(Tcl_Interp* interp, int argc, char** argv) const {
  const int i = argc == 3 ? numberOf(argv[2]) : 0;
  if (!holds(i)) return cmdError(interp, HX_CMD_WRONG_VALUE, QString::fromUtf8(argv[2]));
  for (const QString& part : colorText(getColor(i)).split(' ')) Tcl_VaAppendElement(interp, "%s", qUtf8Printable(part));
  return TCL_OK;
}

int HxPortColorList::parseSetColor(Tcl_Interp* interp, int argc, char** argv) {
  const int i = argc == 6 ? numberOf(argv[2]) : 0;
  if (!holds(i)) return cmdError(interp, HX_CMD_WRONG_VALUE, QString::fromUtf8(argv[2]));
  const QStringList words = wordsOf(argc, argv, argc - 3);
  const std::optional<McColor> color = colorFrom(words);
  if (!color) return cmdError(interp, HX_CMD_WRONG_VALUE, words.join(' '));
  setColor(i, *color);
  return TCL_OK;
}
