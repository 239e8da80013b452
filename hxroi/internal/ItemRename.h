#pragma once

#include <string>

class QString;
class QxRoiTreeItem;

namespace hxroi {

/// The name that a ROI node gets when the user types `text`: legal, and not taken in the set. Without text it is the
/// next free one of its kind.
std::string nameFor(const QxRoiTreeItem& item, const QString& text);

}  // namespace hxroi
