#include "quarn/kernel/ports/HxPortColormap.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/fields/HxStandardColormaps.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/ports/detail/colorText.h"
#include "quarn/kernel/script/HxCommands.h"

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
  const QString word = argc > 1 ? QString::fromUtf8(argv[1]) : QString();
  QStringList words;
  for (int i = 2; i < argc; ++i) words << QString::fromUtf8(argv[i]);

  /// Runs a getter: `texts` become the elements of the result.
  const auto tell = [&](const QStringList& texts) {
    if (const int go = cmdHelp(interp, argv[1], argc == 2, argc, argv); go != HX_CMD_GO_ON) return go;
    for (const QString& text : texts) Tcl_VaAppendElement(interp, "%s", qUtf8Printable(text));
    return TCL_OK;
  };
  /// Runs a setter of so many numbers; `take` tells whether they are right.
  const auto set = [&](int count, auto take) {
    if (const int go = cmdHelp(interp, argv[1], words.size() == count, argc, argv); go != HX_CMD_GO_ON) return go;
    const auto numbers = realsFrom(words);
    return numbers && take(*numbers) ? TCL_OK : cmdError(interp, HX_CMD_WRONG_VALUE, words.join(' '));
  };

  if (cmdCheck(word, "getMinMax", "")) return tell({realText(localMin_), realText(localMax_)});
  if (cmdCheck(word, "setMinMax", "MIN MAX")) {
    return set(2, [&](const std::vector<float>& range) {
      setLocalRange(range[0], range[1]);
      return true;
    });
  }
  if (cmdCheck(word, "getColor", "")) return tell(colorText(defaultColor_).split(' '));
  if (cmdCheck(word, "setColor", "R G B")) {
    return set(3, [&](const std::vector<float>&) {
      const std::optional<McColor> color = colorFrom(words);
      if (color) setDefaultColor(*color);
      return color.has_value();
    });
  }
  if (cmdCheck(word, "getAlpha", "")) return tell({realText(defaultAlpha_)});
  if (cmdCheck(word, "setAlpha", "ALPHA")) {
    return set(1, [&](const std::vector<float>& alpha) {
      if (isPart(alpha[0])) setDefaultAlpha(alpha[0]);
      return isPart(alpha[0]);
    });
  }
  if (cmdCheck(word, "isAlphaEnabled", "")) return tell({QString::number(int{alphaEnabled_})});
  if (cmdCheck(word, "setAlphaEnabled", "0|1")) {
    return set(1, [&](const std::vector<float>& flag) {
      const bool isFlag = flag[0] == 0 || flag[0] == 1;
      if (isFlag) setAlphaEnabled(flag[0] != 0);
      return isFlag;
    });
  }
  if (cmdCheck(word, "connectStandard", "COLORMAP")) {
    if (const int go = cmdHelp(interp, argv[1], argc == 3, argc, argv); go != HX_CMD_GO_ON) return go;
    return parseConnectStandard(interp, words[0]);
  }
  if (word == "connect" && argc == 3 && isEditingAllowed()) {
    HxColormap* standard =
        HxObjectPool::instance().find(words[0]) ? nullptr : HxStandardColormaps::instance().find(words[0]);
    if (standard && connect(standard)) return TCL_OK;
  }
  if (word == "source" && argc == 2 && colormap() && !colormap()->isInPool()) return tell({colormap()->getLabel()});
  return HxConnection::parse(interp, argc, argv);
}

int HxPortColormap::parseConnectStandard(Tcl_Interp* interp, const QString& name) {
  if (refusesEditing()) return TCL_ERROR;
  HxColormap* colormap = HxStandardColormaps::instance().find(name);
  return colormap && connect(colormap) ? TCL_OK : cmdError(interp, HX_CMD_WRONG_VALUE, name);
}
