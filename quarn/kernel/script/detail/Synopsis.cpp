#include "quarn/kernel/script/detail/Synopsis.h"

#include <algorithm>

namespace quarn::detail {

Synopsis::Synopsis(const QString& text) {
  const QStringList words = QString(text).remove('?').split(' ', Qt::SkipEmptyParts);
  for (qsizetype i = 0; i < words.size(); ++i) {
    QString word = words[i];
    if (word.startsWith('-')) {
      // The question mark behind an option without a value is the end of what is optional.
      const bool hasValue = i + 1 < words.size() && !text.contains(word + '?');
      options_ += Option{word, hasValue ? words[++i].split('|') : QStringList()};
      continue;
    }
    repeats_ = word.endsWith(QLatin1String("..."));
    if (repeats_) word.chop(3);
    if (!word.isEmpty()) places_ += word.split('|');
  }
}

QStringList Synopsis::after(const QStringList& given) const {
  qsizetype place = 0;
  for (qsizetype i = 0; i < given.size(); ++i) {
    const auto option =
        std::find_if(options_.begin(), options_.end(), [&](const Option& o) { return o.name == given[i]; });
    if (option == options_.end()) {
      ++place;
    } else if (!option->values.isEmpty()) {
      if (i + 1 == given.size()) return option->values;
      ++i;
    }
  }
  if (place >= places_.size() && repeats_ && !places_.isEmpty()) place = places_.size() - 1;
  const QStringList next = place < places_.size() ? places_[place] : QStringList();
  const bool isInFront = place == 0 && !places_.isEmpty();
  return isInFront ? next : next + optionsBesides(given);
}

QStringList Synopsis::optionsBesides(const QStringList& given) const {
  QStringList names;
  for (const Option& option : options_)
    if (!given.contains(option.name)) names += option.name;
  return names;
}

}  // namespace quarn::detail
