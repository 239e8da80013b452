#pragma once

#include <gmock/gmock.h>

#include "quarn/base/McException.h"

/// The text of the McException that `action` throws; a failure when it throws none.
template <class Action>
std::string textOfException(Action action) {
  try {
    action();
  } catch (const McException& exception) {
    return exception.what();
  }
  ADD_FAILURE() << "no McException was thrown";
  return {};
}
