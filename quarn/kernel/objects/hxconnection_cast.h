#pragma once

#include "quarn/base/mcinterface_cast.h"
#include "quarn/kernel/objects/HxObject.h"
#include "quarn/kernel/ports/HxConnection.h"

/// The source of a connection seen as a T, as by mcinterface_cast; null when nothing is connected.
template <class T>
T* hxconnection_cast(const HxConnection& connection) {
  return mcinterface_cast<T>(connection.source());
}
