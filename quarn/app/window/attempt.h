#pragma once

#include <exception>

#include "quarn/kernel/app/HxMessage.h"

namespace quarn::app {

/// Does what the user asked for; what goes wrong is shown.
template <class Work>
void attempt(Work work) {
  try {
    work();
  } catch (const std::exception& failure) {
    HxMessage::error(QString::fromUtf8(failure.what()));
  }
}

}  // namespace quarn::app
