#pragma once

#include "quarn/base/McHandle.h"

namespace hxroi {

/// A reference to an object that somebody holds, to keep it while displays of progress run events. One that nobody
/// holds yet would be deleted by ours: it gets none, and belongs to somebody who deletes it himself.
template <class Object>
McHandle<Object> hold(Object* object) {
  return object && object->refCount() > 0 ? McHandle<Object>(object) : McHandle<Object>();
}

}  // namespace hxroi
