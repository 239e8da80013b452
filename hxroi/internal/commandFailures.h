#pragma once

#include <QString>
#include <exception>

#include "quarn/base/McException.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/app/HxMessage.h"

namespace hxroi {

/// Runs `command` and shows the failure that ends it, if any.
template <class Command>
void showFailures(Command command) {
  try {
    command();
  } catch (const McException& failure) {
    HxMessage::error(hxText(failure));
  } catch (const std::exception& failure) {
    HxMessage::error(QString::fromUtf8(failure.what()));
  }
}

}  // namespace hxroi
