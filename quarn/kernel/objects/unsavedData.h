#pragma once

#include <QStringList>

#include "quarn/kernel/export.h"

/// Names of the data objects in the pool that changed since they were last saved, or never were saved, in the order of
/// their coming. For the user-interface thread.
QUARN_KERNEL_API QStringList unsavedData();
