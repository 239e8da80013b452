#pragma once

#include <QString>
#include <QStringList>

#include "quarn/kernel/export.h"

/// What a user may type next. For the user-interface thread.
namespace HxCompletion {

/// All words that can follow `words`, the finished words of a command; sorted. Empty where any text may follow, such as
/// the name of a file.
QUARN_KERNEL_API QStringList wordsAfter(const QStringList& words);

}  // namespace HxCompletion
