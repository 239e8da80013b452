#pragma once

#include <QString>

class HxObject;

namespace quarn::detail {

/// What an object is, in a line or two for people: size, spacing and type of an image, rows of a table. Empty for
/// objects of which their ports tell all. Does not look at voxels.
QString factsOf(const HxObject& object);

}  // namespace quarn::detail
