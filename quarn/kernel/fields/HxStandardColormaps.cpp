#include "quarn/kernel/fields/HxStandardColormaps.h"

#include <algorithm>
#include <cstdint>
#include <span>

namespace {

constexpr int kEntries = 256;

/// Colours at even distances, 0xRRGGBB; what lies between is interpolated.
constexpr std::uint32_t kGrey[] = {0x000000, 0xffffff};
constexpr std::uint32_t kViridis[] = {0x440154, 0x482878, 0x3e4989, 0x31688e, 0x26828e,
                                      0x1f9e89, 0x35b779, 0x6ece58, 0xb5de2b, 0xfde725};
constexpr std::uint32_t kMagma[] = {0x000004, 0x180f3d, 0x440f76, 0x721f81, 0x9e2f7f,
                                    0xcd4071, 0xf1605d, 0xfd9668, 0xfeca8d, 0xfcfdbf};
constexpr std::uint32_t kCividis[] = {0x00224e, 0x123570, 0x3b496c, 0x575d6d, 0x707173,
                                      0x8a8678, 0xa59c74, 0xc3b369, 0xe1cc55, 0xfee838};
constexpr std::uint32_t kTurbo[] = {0x30123b, 0x4145ab, 0x4675ed, 0x39a2fc, 0x1bcfd4, 0x24eca6, 0x61fc6c, 0xa4fc3b,
                                    0xd1e834, 0xf3c63a, 0xfe9b2d, 0xf36315, 0xd93806, 0xb11901, 0x7a0402};
constexpr std::uint32_t kCoolwarm[] = {0x3b4cc0, 0x6788ee, 0x9abbff, 0xc9d7f0, 0xedd1c2, 0xf7a889, 0xe26952, 0xb40426};

struct Named {
  const char* name;
  std::span<const std::uint32_t> colors;
};
constexpr Named kColormaps[] = {{"grey", kGrey},       {"viridis", kViridis}, {"magma", kMagma},
                                {"cividis", kCividis}, {"turbo", kTurbo},     {"coolwarm", kCoolwarm}};

McColor unpacked(std::uint32_t color) {
  const auto part = [color](unsigned shift) { return static_cast<float>(color >> shift & 0xff) / 255; };
  return {part(16), part(8), part(0)};
}

McColor colorAt(std::span<const std::uint32_t> colors, float position) {
  const auto below = static_cast<std::size_t>(position);
  if (below + 1 >= colors.size()) return unpacked(colors.back());
  const McColor a = unpacked(colors[below]), b = unpacked(colors[below + 1]);
  const float part = position - static_cast<float>(below);
  McColor mixed;
  for (int channel = 0; channel < 3; ++channel) mixed[channel] = a[channel] + part * (b[channel] - a[channel]);
  return mixed;
}

McHandle<HxColormap> makeColormap(const Named& named) {
  McHandle<HxColormap> colormap(new HxColormap);
  colormap->setLabel(named.name);
  std::vector<HxColormap::Entry> entries;
  for (int i = 0; i < kEntries; ++i) {
    const auto last = static_cast<float>(named.colors.size() - 1);
    entries.push_back({colorAt(named.colors, last * static_cast<float>(i) / (kEntries - 1)), 1});
  }
  colormap->setEntries(std::move(entries));
  return colormap;
}

}  // namespace

HxStandardColormaps& HxStandardColormaps::instance() {
  // Never destroyed: objects that use a colormap may outlive everything else.
  static auto* const colormaps = new HxStandardColormaps;
  return *colormaps;
}

HxStandardColormaps::HxStandardColormaps() : colormaps_(std::size(kColormaps)) {
  for (const Named& named : kColormaps) names_ << named.name;
}

bool HxStandardColormaps::isStandard(const HxObject* object) const {
  return object && std::find(colormaps_.begin(), colormaps_.end(), object) != colormaps_.end();
}

HxColormap* HxStandardColormaps::find(const QString& name) {
  const qsizetype i = names_.indexOf(name);
  if (i < 0) return nullptr;
  McHandle<HxColormap>& colormap = colormaps_[static_cast<std::size_t>(i)];
  if (!colormap) colormap = makeColormap(kColormaps[i]);
  return colormap;
}
