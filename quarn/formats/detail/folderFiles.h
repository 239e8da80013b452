#pragma once

#include <QString>
#include <vector>

namespace quarn::formats::detail {

/// The paths of the regular files in a folder whose names do not begin with a point, in no particular order.
std::vector<QString> filesOf(const QString& folder);

/// Whether `a` stands before `b` for a reader: runs of digits count as numbers, so that slice9 stands before slice10.
/// Names that differ in leading zeros alone are in the order of their signs.
bool naturallyBefore(const QString& a, const QString& b);

}  // namespace quarn::formats::detail
