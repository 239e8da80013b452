#pragma once

#include <QString>
#include <cstddef>

#include "quarn/kernel/fields/HxGeometry3.h"
#include "quarn/kernel/io/NrrdHeader.h"
#include "roitools/export.h"

namespace roitools {

/// Where the lattice of the last three axes of an NRRD file lies. What the file does not say, or says in a space that
/// is none of the patient, is told on the console. Throws McException naming `file` and field for axes that no lattice
/// has: without length, or all in one plane.
ROITOOLS_API HxGeometry3 geometryOf(const quarn::NrrdHeader& header, const QString& file);

/// The other way round: sets space, origin and directions, in left-posterior-superior, behind `listAxes` axes that are
/// not in space.
ROITOOLS_API void setGeometry(quarn::NrrdHeader& header, const HxGeometry3& geometry, std::size_t listAxes);

}  // namespace roitools
