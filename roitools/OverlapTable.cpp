#include "roitools/OverlapTable.h"

#include <QString>
#include <utility>
#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/details/Group.h"
#include "quarn/kernel/fields/HxTable.h"
#include "roitools/RoiContent.h"
#include "roitools/RoiOverlap.h"

namespace roitools {

namespace {

using hxroi::details::Roi;
using Kind = HxTable::Kind;

constexpr int kDecimals = 4;

void addColumns(HxTable& table) {
  for (const char* name : {"a", "a_group", "b", "b_group"}) table.addColumn(name, Kind::Text);
  for (const char* name : {"a_voxels", "b_voxels", "shared"}) table.addColumn(name, Kind::Integer);
  for (const char* name : {"dice", "jaccard", "part_of_a", "part_of_b"}) table.addColumn(name, Kind::Real, kDecimals);
  for (const char* name : {"a_id", "b_id"}) table.hideInText(table.addColumn(name, Kind::Text));
}

double ratio(std::uint64_t part, std::uint64_t whole) {
  return static_cast<double>(part) / static_cast<double>(whole);
}

/// What a row tells of a ROI. Taken beforehand, since the work may let the user change the set.
struct Listed {
  explicit Listed(const Roi& roi)
      : name(shownName(roi)),
        group(shownGroup(roi)),
        id(QString::fromLatin1(roi.id().c_str()).toStdString()),
        self(&roi),
        parent(roi.parent()) {}

  std::string name, group, id;
  const Roi *self, *parent;  // to be compared only
};

/// Of ROIs that share voxels, so that no divisor is 0.
HxTable::Row rowOf(const Listed& a, const Listed& b, std::uint64_t aVoxels, std::uint64_t bVoxels,
                   std::uint64_t shared) {
  HxTable::Row row;
  for (const Listed* roi : {&a, &b}) {
    row.emplace_back(roi->name);
    row.emplace_back();
    if (!roi->group.empty()) row.back() = roi->group;
  }
  for (const std::uint64_t count : {aVoxels, bVoxels, shared}) row.emplace_back(static_cast<std::int64_t>(count));
  row.emplace_back(2 * ratio(shared, aVoxels + bVoxels));
  row.emplace_back(ratio(shared, aVoxels + bVoxels - shared));
  row.emplace_back(ratio(shared, aVoxels));
  row.emplace_back(ratio(shared, bVoxels));
  for (const Listed* roi : {&a, &b}) row.emplace_back(roi->id);
  return row;
}

}  // namespace

bool fillOverlapTable(HxTable& table, const HxRois& rois, const HxRois* other, const hxvoxora::WorkCallback& callback) {
  std::vector<Listed> listed;
  OverlapInput input;
  const auto add = [&](const HxRois& set) {
    for (const Roi* roi : roisInOrder(set)) {
      hxvoxora::TileSnapshot content = contentOf(*roi);
      // A set may have any number of groups without members.
      if (content.tileCount() == 0) continue;
      listed.emplace_back(*roi);
      input.rois.push_back(std::move(content));
    }
  };
  add(rois);
  const std::size_t own = listed.size();
  if (other) add(*other);
  if (other) input.firstOfOther = own;
  const std::optional<OverlapCounts> counts = countOverlaps(input, callback);
  if (!counts) return false;

  table.clear();
  addColumns(table);
  for (std::size_t a = 0; a < own; ++a) {
    for (std::size_t b = other ? own : a + 1; b < listed.size(); ++b) {
      const std::uint64_t shared = counts->shared(a, b);
      if (shared == 0 || (!other && listed[b].parent == listed[a].self)) continue;
      table.addRow(rowOf(listed[a], listed[b], counts->voxels(a), counts->voxels(b), shared));
    }
  }
  return true;
}

}  // namespace roitools
