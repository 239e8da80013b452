#include "quarn/kernel/ports/detail/colorText.h"

#include <QLocale>
#include <charconv>
#include <cmath>

namespace quarn::detail {

QString realText(float number) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, number).ptr;
  return QString::fromLatin1(text, end - text);
}

std::optional<float> realFrom(const QString& word) {
  bool isNumber;
  const float number = QLocale::c().toFloat(word, &isNumber);
  return isNumber && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

QString colorText(const McColor& color) {
  return realText(color.r) + " " + realText(color.g) + " " + realText(color.b);
}

std::optional<McColor> colorFrom(const QStringList& words, qsizetype first) {
  if (words.size() < first + 3) return std::nullopt;
  McColor color;
  for (int channel = 0; channel < 3; ++channel) {
    const std::optional<float> part = realFrom(words[first + channel]);
    if (!part || *part < 0 || *part > 1) return std::nullopt;
    color[channel] = *part;
  }
  return color;
}

}  // namespace quarn::detail
