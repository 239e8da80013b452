#pragma once

class QxRoiTreeItem;

/// The places of tree nodes in the set: what an edit of the tree does to set and groups.
namespace hxroi {

/// Whether the ROI of `child` may stand below `parent`: masks in groups, masks and groups in the set.
bool canStandIn(const QxRoiTreeItem& parent, const QxRoiTreeItem& child);

/// The ROI of `child` enters the set or group of `parent`. McException when the set refuses it.
void enterPlace(const QxRoiTreeItem& parent, int position, const QxRoiTreeItem& child);

/// McException when the set or group of `parent` has another ROI of the name of `child`, so that an edit by name would
/// hit that one.
void checkIdentity(const QxRoiTreeItem& parent, const QxRoiTreeItem& child);

/// The same, and when its ROI does not stand right below `parent` in the set, as after a change that the tree has not
/// heard of.
void checkPlace(const QxRoiTreeItem& parent, const QxRoiTreeItem& child);

/// The ROI of `child` leaves the set or group of `parent`. McException when the set refuses that.
void leavePlace(const QxRoiTreeItem& parent, const QxRoiTreeItem& child);

/// Both, with the colormap of the ROI kept. McException when one is refused; set and groups are as before then.
void changePlace(const QxRoiTreeItem& source, int from, const QxRoiTreeItem& destination, int to,
                 const QxRoiTreeItem& child);

}  // namespace hxroi
