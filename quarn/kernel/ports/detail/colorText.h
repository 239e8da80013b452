#pragma once

#include <QString>
#include <QStringList>
#include <optional>

#include "quarn/base/McColor.h"

/// Numbers and colours as words of scripts and of saved states, without the locale. A colour is three reals from 0
/// to 1.
namespace quarn::detail {

/// The shortest text that gives the number back.
QString realText(float number);

/// Nothing unless the word is a finite number.
std::optional<float> realFrom(const QString& word);

QString colorText(const McColor& color);

/// Nothing unless there are three such words from `first` on.
std::optional<McColor> colorFrom(const QStringList& words, qsizetype first = 0);

}  // namespace quarn::detail
