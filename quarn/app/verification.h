#pragma once

#include <QStringList>

namespace quarn::app {

/// Checks files, and tells what was found on standard output: what is sound, unless `quiet`, and what is not. Returns
/// the exit status.
int verifyFiles(const QStringList& files, bool quiet);

}  // namespace quarn::app
