#include "hxroi/details/logFailure.h"

#include <QString>

#include "quarn/kernel/app/HxMessage.h"

namespace hxroi::details {

void logFailure(const char* what, const char* why) noexcept {
  try {
    HxMessage::printf("%s: %s", what, why);
  } catch (...) {
    // Nobody is left to be told.
  }
}

void reportLoss(const char* what, const char* why) noexcept {
  try {
    HxMessage::error(QStringLiteral("%1: %2").arg(QString::fromUtf8(what), QString::fromUtf8(why)));
  } catch (...) {
    logFailure(what, why);
  }
}

}  // namespace hxroi::details
