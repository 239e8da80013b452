#pragma once

#include <mutex>

#include "quarn/base/McMutex.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace hxroi::details {

/// Runs `edit` as one editing transaction on a node, under the edit mutex of its mask. An exception gives the edits up
/// and goes on to the caller. Nothing that `edit` calls may take the mutex.
template <class Edit>
void inTransaction(SoVolumeMask& node, McMutex& editMutex, Edit edit) {
  const std::lock_guard lock(editMutex);
  const int id = node.beginTransaction();
  try {
    edit();
    node.endTransaction(id);
  } catch (...) {
    node.abortTransaction(id);
    throw;
  }
}

}  // namespace hxroi::details
