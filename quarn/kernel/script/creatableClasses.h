#pragma once

#include <QStringList>

#include "quarn/kernel/export.h"

/// Names of the classes of which objects can be made, packages' included. For the user-interface thread.
QUARN_KERNEL_API QStringList creatableClasses();
