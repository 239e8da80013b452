#pragma once

#include <QString>

#include "quarn/base/McException.h"
#include "quarn/kernel/export.h"

/// A McException with a translated text.
QUARN_KERNEL_API McException hxException(const QString& text);

/// The text of an exception.
QUARN_KERNEL_API QString hxText(const McException& exception);
