#include "quarn/base/McColor.h"

#include <array>
#include <atomic>
#include <cstdint>

namespace {

// Neighbours in the list differ strongly in hue or lightness: most sets of regions have only a handful of colours.
constexpr std::array<std::uint32_t, 24> kHtmlColors{
    0xFF0000,  // Red
    0x32CD32,  // LimeGreen
    0x1E90FF,  // DodgerBlue
    0xFFD700,  // Gold
    0xFF00FF,  // Magenta
    0x00FFFF,  // Cyan
    0xFF8C00,  // DarkOrange
    0x8A2BE2,  // BlueViolet
    0x008000,  // Green
    0xFFB6C1,  // LightPink
    0x8B4513,  // SaddleBrown
    0x7FFFD4,  // Aquamarine
    0xDC143C,  // Crimson
    0x483D8B,  // DarkSlateBlue
    0xADFF2F,  // GreenYellow
    0x800080,  // Purple
    0xF4A460,  // SandyBrown
    0x008080,  // Teal
    0xFF69B4,  // HotPink
    0x808000,  // Olive
    0x87CEFA,  // LightSkyBlue
    0x800000,  // Maroon
    0x0000CD,  // MediumBlue
    0xC0C0C0,  // Silver
};

constexpr McColor fromHtml(std::uint32_t rgb) {
  constexpr auto channel = [](std::uint32_t value) { return static_cast<float>(value & 0xFF) / 255.0F; };
  return {channel(rgb >> 16), channel(rgb >> 8), channel(rgb)};
}

constinit std::atomic<std::uint64_t> nextPosition{0};

}  // namespace

McColor McColor::nextHtmlColor() noexcept {
  return fromHtml(kHtmlColors[nextPosition.fetch_add(1, std::memory_order_relaxed) % kHtmlColors.size()]);
}

std::size_t McColor::htmlColorCount() noexcept {
  return kHtmlColors.size();
}
