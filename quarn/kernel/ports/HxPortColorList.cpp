#include "quarn/kernel/ports/HxPortColorList.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "quarn/kernel/ports/detail/colorText.h"
#include "quarn/kernel/script/HxWordCommands.h"

MC_ABSTRACT_CLASS_IMPL(HxPortColorList, HxPort)

using quarn::detail::colorFrom;
using quarn::detail::colorText;

namespace {

/// -1 unless the word is a number.
int numberOf(const QString& word) {
  bool isNumber;
  const int number = word.toInt(&isNumber);
  return isNumber ? number : -1;
}

QString choicesOf(int count) {
  return count > 1 ? QStringLiteral("a number from 0 to %1").arg(count - 1) : QStringLiteral("0");
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
  static constexpr HxWordCommand<HxPortColorList> kCommands[] = {
      {{"getColor", "?NUMBER?", 0, 1,
        "Returns red, green and blue of a colour, the first one unless its number is given."},
       [](HxPortColorList& port, const HxWords& words) {
         return port.parseGetColor(words.interp, words.argc, words.argv);
       }},
      {{"setColor", "?NUMBER? R G B", 3, 4, "Sets a colour, the first one unless its number is given."},
       [](HxPortColorList& port, const HxWords& words) {
         return port.parseSetColor(words.interp, words.argc, words.argv);
       }},
  };
  getCmdInfo().note("getColor", "NUMBER is " + choicesOf(count()));
  getCmdInfo().note("setColor", "NUMBER is " + choicesOf(count()) + "; R, G and B are numbers from 0 to 1");
  const auto code = runWordCommand(kCommands, "HxPortColorList", *this, HxWords{interp, argc, argv});
  return code ? *code : HxPort::parse(interp, argc, argv);
}

int HxPortColorList::parseGetColor(Tcl_Interp* interp, int argc, char** argv) const {
  const HxWords words{interp, argc, argv};
  const int i = words.count() > 0 ? numberOf(words.text(0)) : 0;
  if (!holds(i)) return words.refuse(words.text(0), choicesOf(count()));
  return words.append(colorText(getColor(i)).split(' '));
}

int HxPortColorList::parseSetColor(Tcl_Interp* interp, int argc, char** argv) {
  const HxWords words{interp, argc, argv};
  const int numbered = words.count() - 3;
  const int i = numbered > 0 ? numberOf(words.text(0)) : 0;
  if (!holds(i)) return words.refuse(words.text(0), choicesOf(count()));
  const QStringList parts = words.texts(numbered);
  const std::optional<McColor> color = colorFrom(parts);
  if (!color) return words.refuse(parts.join(' '), "red, green and blue from 0 to 1");
  setColor(i, *color);
  return TCL_OK;
}
