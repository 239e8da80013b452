#pragma once

#include <QString>

#include "quarn/kernel/fields/HxGeometry3.h"

namespace quarn::formats::detail {

/// Whether each two axes have a cosine of at most 10^-4.
bool isPerpendicular(const HxGeometry3& geometry);

/// Checks that a lattice can lie as told: origin within 10^9 mm, voxel sizes from 10^-6 to 10^6 mm, directions that are
/// perpendicular and have the length 1, both within 10^-4.
///
/// @throws McException, naming `file`, axis and value.
void requireSoundGeometry(const HxGeometry3& geometry, const QString& file);

}  // namespace quarn::formats::detail
