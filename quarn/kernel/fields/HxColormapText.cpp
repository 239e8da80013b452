#include <QStringList>
#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "quarn/kernel/HxException.h"
#include "quarn/kernel/app/HxFileHelpers.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/ports/detail/colorText.h"

/// \file
/// Colormaps as text files.

using quarn::detail::colorText;
using quarn::detail::realFrom;
using quarn::detail::realText;

namespace {

constexpr const char* kFirstLine = "quarn-colormap 1";
constexpr qint64 kMaximumBytes = 1 << 20;

/// So many numbers of a line; nothing when it has others.
std::optional<std::vector<float>> numbersOf(const QStringList& words, std::size_t count) {
  std::vector<float> numbers;
  for (const QString& word : words) {
    const std::optional<float> number = realFrom(word);
    if (!number) return std::nullopt;
    numbers.push_back(*number);
  }
  return numbers.size() == count ? std::optional(numbers) : std::nullopt;
}

McException refusal(const QString& file, qsizetype line, const QString& text, const QString& expected) {
  const QString excerpt = QString::fromStdString(McException::excerpt(text.toStdString()));
  return hxException(QString("%1, line %2: \"%3\" is not %4.").arg(file).arg(line).arg(excerpt, expected));
}

}  // namespace

void HxColormap::saveText(const QString& file) const {
  const auto isPart = [](float part) { return part >= 0 && part <= 1; };
  const auto isSound = [&](const Entry& entry) {
    return isPart(entry.color.r) && isPart(entry.color.g) && isPart(entry.color.b) && isPart(entry.alpha);
  };
  if (!std::isfinite(min_) || !std::isfinite(max_) || !std::all_of(entries_.begin(), entries_.end(), isSound))
    throw hxException(QString("%1: colours or range of the colormap could not be read again.").arg(file));
  QString text = QString("%1\nrange %2 %3\n").arg(kFirstLine, realText(min_), realText(max_));
  for (const Entry& entry : entries_) text += colorText(entry.color) + " " + realText(entry.alpha) + "\n";
  const QByteArray bytes = text.toUtf8();
  if (bytes.size() > kMaximumBytes) throw hxException(QString("%1: the colormap has too many colours.").arg(file));
  HxFileHelpers::replaceFile(file, bytes);
}

void HxColormap::loadText(const QString& file) {
  const QStringList lines = QString::fromUtf8(HxFileHelpers::readFile(file, kMaximumBytes)).split('\n');
  if (lines[0].trimmed() != kFirstLine) throw refusal(file, 1, lines[0], QString("\"%1\"").arg(kFirstLine));
  std::optional<std::vector<float>> range;
  std::vector<Entry> entries;
  for (qsizetype i = 1; i < lines.size(); ++i) {
    QStringList words = lines[i].simplified().split(' ', Qt::SkipEmptyParts);
    if (words.isEmpty()) continue;
    if (!range) {
      if (words.takeFirst() == "range") range = numbersOf(words, 2);
      if (!range) throw refusal(file, i + 1, lines[i], "\"range\" and two numbers");
      continue;
    }
    const auto parts = numbersOf(words, 4);
    if (!parts || std::any_of(parts->begin(), parts->end(), [](float part) { return part < 0 || part > 1; })) {
      throw refusal(file, i + 1, lines[i], "a colour: four numbers from 0 to 1");
    }
    entries.push_back({McColor((*parts)[0], (*parts)[1], (*parts)[2]), (*parts)[3]});
  }
  if (entries.empty()) throw hxException(QString("%1: the colormap has no colours.").arg(file));
  setEntries(std::move(entries));
  setMinMax((*range)[0], (*range)[1]);
}
