#pragma once

#include <QString>
#include <vector>

#include "quarn/formats/detail/DicomSlice.h"
#include "quarn/kernel/fields/HxGeometry3.h"

namespace quarn::formats::detail {

/// Sorts slices of one size and direction along their normal, and returns the geometry of the lattice that they make.
///
/// @throws McException, naming `place` and the files, when the position of one of several slices is missing, when two
///   lie in one place (or as many in each, as in a series of volumes), when one is missing between others (their
///   distances differ by more than 1 % and more than rounding does), and when they are shifted within their planes.
HxGeometry3 sortIntoStack(const QString& place, std::vector<DicomSlice>& slices);

}  // namespace quarn::formats::detail
