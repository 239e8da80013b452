#pragma once

#include <QString>

namespace quarn::detail {

/// The user's own folder in the system's folder for temporary files, mode 0700. It is quarn-<uid>; when something of
/// that name is there that is not a folder of this user, a fresh folder with a random ending is made, once per process.
/// Throws McException when neither can be made.
QString privateTemporaryFolder();

}  // namespace quarn::detail
