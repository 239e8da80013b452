#include "quarn/kernel/app/HxMessageSink.h"

HxMessageSink::~HxMessageSink() = default;

void HxMessageSink::titledWarning(const QString& title, const QString& text) {
  warning(title + QLatin1Char(' ') + text);
}
