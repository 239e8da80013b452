#include "quarn/view/labelColors.h"

#include <QColor>
#include <map>
#include <utility>
#include <vector>

#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/params/HxParamBundle.h"

namespace quarn::view {

namespace {

constexpr int LABELS = 256;
/// Neighbours in number are far apart in hue.
constexpr int HUE_STEP = 137;
constexpr int SATURATION = 150, BRIGHTNESS = 230;

McColor colorOf(const std::map<int, const HxParamBundle*>& materials, int label) {
  const QColor plain = QColor::fromHsv(label * HUE_STEP % 360, SATURATION, BRIGHTNESS);
  McColor color(plain.redF(), plain.greenF(), plain.blueF());
  if (const auto found = materials.find(label); found != materials.end()) found->second->getMaterialColor(color);
  return color;
}

}  // namespace

ColorTransfer labelColors(const HxUniformLabelField3& field, float opacity) {
  std::vector<ColorTransfer::Color> colors;
  colors.reserve(LABELS);
  const auto materials = field.materialsByLabel();
  for (int label = 0; label < LABELS; ++label) {
    const McColor color = colorOf(materials, label);
    colors.push_back({color.r, color.g, color.b, label == 0 ? 0 : opacity});
  }
  return ColorTransfer(std::move(colors));
}

}  // namespace quarn::view
