#pragma once

#include <QString>

#include "quarn/voxora/files/FileSystem.h"

/// Rights of a file that is written to take the place of another one: those of the former file as far as the user's
/// file mode mask lets, so that who could not do something with the former file cannot do it with the new one.
namespace quarn::detail {

/// How the new file is to be made; without a former file the mask alone decides.
hxvoxora::FileSystem::Access accessBeside(const QString& former);

/// Gives the new file, made like that, its rights. Where they cannot be set it stays with its owner.
void takeRights(const QString& former, const QString& file);

}  // namespace quarn::detail
