#include "quarn/kernel/ports/HxPortColormap.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/fields/HxStandardColormaps.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/ports/detail/colorText.h"
#include "quarn/kernel/script/HxWordCommands.h"

MC_ABSTRACT_CLASS_IMPL(HxPortColormap, HxConnection)

using quarn::detail::colorFrom;
using quarn::detail::colorText;
using quarn::detail::realFrom;
using quarn::detail::realText;

namespace {

constexpr unsigned int kAlphaChanged = 4;
constexpr unsigned int kRangeChanged = 32;
constexpr unsigned int kColorChanged = 128;

/// All words as finite numbers, or nothing.
std::optional<std::vector<float>> realsFrom(const QStringList& words) {
  std::vector<float> numbers;
  for (const QString& word : words) {
    const std::optional<float> number = realFrom(word);
    if (!number) return std::nullopt;
    numbers.push_back(*number);
  }
  return numbers;
}

bool isPart(float number) {
  return number >= 0 && number <= 1;
}

}  // namespace

HxPortColormap::HxPortColormap(HxObject* owner, const QString& name, const QString& label)
    : HxConnection(owner, name, label, HxColormap::getClassTypeId()) {}

HxPortColormap::~HxPortColormap() = default;

HxColormap* HxPortColormap::colormap() const {
  return dynamic_cast<HxColormap*>(source());
}

template <typename Value>
void HxPortColormap::change(Value& member, const Value& value, unsigned int flags) {
  if (member == value) return;
  member = value;
  showSource();
  touch(flags);
}

void HxPortColormap::setConstantColorEnabled(bool enabled) {
  change(constantColorEnabled_, enabled, kColorChanged);
}

void HxPortColormap::setDefaultColor(const McColor& color) {
  change(defaultColor_, color, kColorChanged);
}

void HxPortColormap::setDefaultAlpha(float alpha) {
  change(defaultAlpha_, std::clamp(alpha, 0.0F, 1.0F), kColorChanged);
}

void HxPortColormap::setAlphaEnabled(bool enabled) {
  change(alphaEnabled_, enabled, kAlphaChanged);
}

void HxPortColormap::setLocalRangeActive(bool active) {
  change(localRangeActive_, active, kRangeChanged);
}

void HxPortColormap::setLocalRange(float min, float max) {
  change(localMin_, min, kRangeChanged);
  change(localMax_, max, kRangeChanged);
}

void HxPortColormap::getState(QString& state) const {
  const QStringList words{QString::number(int{alphaEnabled_}),
                          QString::number(int{localRangeActive_}),
                          realText(localMin_),
                          realText(localMax_),
                          colorText(defaultColor_),
                          realText(defaultAlpha_)};
  state = words.join(' ');
}

bool HxPortColormap::setState(const QString& state) {
  const QStringList words = state.simplified().split(' ');
  const auto numbers = realsFrom(words);
  const std::optional<McColor> color = colorFrom(words, 4);
  if (!numbers || numbers->size() != 8 || !color || !isPart(numbers->back())) return false;
  setAlphaEnabled((*numbers)[0] != 0);
  setLocalRangeActive((*numbers)[1] != 0);
  setLocalRange((*numbers)[2], (*numbers)[3]);
  setDefaultColor(*color);
  setDefaultAlpha(numbers->back());
  return true;
}

int HxPortColormap::parse(Tcl_Interp* interp, int argc, char** argv) {
  static constexpr HxWordCommand<HxPortColormap> kCommands[] = {
      {{"getMinMax", "", 0, 0, "Returns the range of values of the colours, where it is set here."},
       [](HxPortColormap& port, const HxWords& words) {
         return words.append({realText(port.localMin_), realText(port.localMax_)});
       }},
      {{"setMinMax", "MIN MAX", 2, 2, "Sets the range of values of the colours."},
       [](HxPortColormap& port, const HxWords& words) {
         const auto range = realsFrom(words.texts());
         if (!range) return words.refuse(words.texts().join(' '), "two numbers");
         port.setLocalRange((*range)[0], (*range)[1]);
         return TCL_OK;
       }},
      {{"getColor", "", 0, 0, "Returns red, green and blue of the colour that is used without a colormap."},
       [](HxPortColormap& port, const HxWords& words) {
         return words.append(colorText(port.defaultColor_).split(' '));
       }},
      {{"setColor", "R G B", 3, 3, "Sets the colour that is used without a colormap; parts are from 0 to 1."},
       [](HxPortColormap& port, const HxWords& words) {
         const std::optional<McColor> color = colorFrom(words.texts());
         if (!color) return words.refuse(words.texts().join(' '), "red, green and blue from 0 to 1");
         port.setDefaultColor(*color);
         return TCL_OK;
       }},
      {{"getAlpha", "", 0, 0, "Returns the opacity of that colour."},
       [](HxPortColormap& port, const HxWords& words) { return words.append(realText(port.defaultAlpha_)); }},
      {{"setAlpha", "ALPHA", 1, 1, "Sets the opacity of that colour, from 0 to 1."},
       [](HxPortColormap& port, const HxWords& words) {
         const std::optional<float> alpha = realFrom(words.text(0));
         if (!alpha || !isPart(*alpha)) return words.refuse(words.text(0), "a number from 0 to 1");
         port.setDefaultAlpha(*alpha);
         return TCL_OK;
       }},
      {{"isAlphaEnabled", "", 0, 0, "Returns 1 when colours may be transparent, else 0."},
       [](HxPortColormap& port, const HxWords& words) {
         return words.append(QString::number(int{port.alphaEnabled_}));
       }},
      {{"setAlphaEnabled", "0|1", 1, 1, "Tells whether colours may be transparent."},
       [](HxPortColormap& port, const HxWords& words) {
         const std::optional<float> flag = realFrom(words.text(0));
         if (flag != 0.0F && flag != 1.0F) return words.refuse(words.text(0), "0 or 1");
         port.setAlphaEnabled(flag == 1.0F);
         return TCL_OK;
       }},
      {{"connectStandard", "COLORMAP", 1, 1, "Connects a colormap that every program has, not an object of that name."},
       [](HxPortColormap& port, const HxWords& words) {
         return port.parseConnectStandard(words.interp, words.text(0));
       }},
  };
  getCmdInfo().offer("COLORMAP", HxStandardColormaps::instance().names());
  const HxWords words{interp, argc, argv};
  if (const auto code = runWordCommand(kCommands, "HxPortColormap", *this, words)) return *code;

  const QString word = words.command();
  if (word == "connect" && argc == 3 && isEditingAllowed()) {
    HxColormap* standard =
        HxObjectPool::instance().find(words.text(0)) ? nullptr : HxStandardColormaps::instance().find(words.text(0));
    if (standard && connect(standard)) return TCL_OK;
  }
  if (word == "source" && argc == 2 && colormap() && !colormap()->isInPool())
    return words.append(colormap()->getLabel());
  return HxConnection::parse(interp, argc, argv);
}

int HxPortColormap::parseConnectStandard(Tcl_Interp*, const QString& name) {
  if (refusesEditing()) return TCL_ERROR;
  HxStandardColormaps& all = HxStandardColormaps::instance();
  HxColormap* const colormap = all.find(name);
  if (colormap && connect(colormap)) return TCL_OK;
  return HxWords::refuse("connectStandard", name, all.names().join(QStringLiteral(" or ")));
}
