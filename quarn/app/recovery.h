#pragma once

#include <QString>

namespace quarn::app {

/// Work that earlier runs left in the temporary storage when they were cut off: shows it, with a folder saves it there
/// (the folder is new or empty, every object gets a file, and what is saved is removed from the storage), or removes
/// it. Returns the exit status: 1 when some could not be saved. McException when it cannot be done; nothing is lost
/// then.
int recoverWork(const QString& folder, bool discard);

/// Tells in one line on standard error when there is such work.
void tellOfLostWork();

}  // namespace quarn::app
