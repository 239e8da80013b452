#pragma once

#include <QString>

#include "quarn/base/McHandle.h"
#include "quarn/formats/export.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/io/HxLoadOptions.h"

namespace quarn::formats {

/// Reads one volume of a NIfTI-1 file (one file, gzip-compressed or not, or a pair of header and data file).
///
/// Kind of the result: an HxUniformLabelField3 when `options.kind` is "label", when label names are given, or when the
/// file's own intent is "label" and `options.kind` is not "scalar"; an HxUniformScalarField3 otherwise.
///
/// Values of a scalar field keep their type, with two exceptions: values with a scale or an offset in the header arrive
/// scaled as float (double stays double), and 64-bit integers arrive as double when every one of them fits exactly.
///
/// Values of a label field must be whole numbers from 0 to 2147483647. Those that `options.values` does not name become
/// 0. Up to 255 they are kept; above it, labels are renumbered in increasing order when there are at most 255 of them
/// (one console line says so), and refused otherwise. With label names, or after a renumbering, the field has one
/// material for every label value up to the largest, so that the material of label v is the one with index v: the first
/// is "Exterior", labels without a name are called "Undescribed-label-<value>", a name that is taken already gets
/// "-<value>" appended, and the integer "Id" is the value in the file.
///
/// Geometry: millimetres, x to the left, y to the back, z up. The bounding box goes through the centres of the first
/// and last voxels, along the axes of the lattice: from "Origin" to "Origin" + (n - 1) * "VoxelSize". The bundle
/// "Geometry" holds "Origin" (3 reals), "VoxelSize" (3 reals, positive) and "Direction" (9 reals; row r, column c is
/// component r of the direction of lattice axis c). A header can place the lattice twice; its matrix ("sform") wins
/// over its quaternion ("qform"), unless the axes of the matrix are not perpendicular.
///
/// The result stands in no pool. Must be called on the user-interface thread; shows its progress there.
///
/// @throws McException, naming the file, when it is missing, a folder, not NIfTI, cut or damaged; when it holds
///   anything but one volume of plain numbers; when the labels are refused; when the options contradict each other;
///   when the user interrupts.
QUARN_FORMATS_API McHandle<HxUniformScalarField3> readNifti(const QString& file, const HxLoadOptions& options);

}  // namespace quarn::formats
