#include <set>
#include <string>

#include "fuzz/targets/HostScope.h"
#include "fuzz/targets/properties.h"
#include "fuzz/targets/targets.h"
#include "hxroi/HxRois.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "roitools/exchange/MaskTable.h"
#include "roitools/exchange/readSegmentation.h"

namespace fuzz {

namespace {

void requireRules(const HxRois& rois, const McVec3i& grid) {
  require(rois.getNumberOfMasks() <= HxRois::kMaximumNumberOfMasks, "a set holds no more masks than it may");
  std::set<std::string> names;
  for (const hxroi::details::Mask* mask : rois.masks()) {
    require(mask->dimensions() == grid, "the masks of a set have one grid");
    require(names.insert(mask->name()).second, "names are unique");
    const McBox3i box = mask->getBoundingBox();
    require(box.isEmpty() ||
                (box[0] >= 0 && box[1] < grid.x && box[2] >= 0 && box[3] < grid.y && box[4] >= 0 && box[5] < grid.z),
            "voxels lie in the grid");
  }
}

bool isSameRow(const roitools::MaskTable::Row& a, const roitools::MaskTable::Row& b) {
  return a.file == b.file && a.name == b.name && a.group == b.group && a.color == b.color;
}

}  // namespace

bool segmentation(std::span<const std::byte> input) {
  HostScope host("image.seg.nrrd", input);
  roitools::ReadSet read;
  if (!host.refusalOf([&] { read = roitools::readSegmentation(host.file(), {}); }).empty()) return false;
  require(bool(read.rois), "there is a set");
  requireRules(*read.rois, read.grid);
  for (const double size : read.geometry.voxelSize) require(size > 0, "voxels have a size");
  return true;
}

bool maskTable(std::span<const std::byte> input) {
  HostScope host("masks.masks.csv", {});
  using roitools::MaskTable;
  const QByteArray text(reinterpret_cast<const char*>(input.data()), static_cast<qsizetype>(input.size()));
  MaskTable table, again;
  if (!host.refusalOf([&] { table = MaskTable::parse(text, host.file()); }).empty()) return false;
  for (const MaskTable::Row& row : table.rows)
    require(row.file.find('/') == std::string::npos && row.file != "..", "images lie beside their table");
  const QByteArray written = table.toText();
  require(host.refusalOf([&] { again = MaskTable::parse(written, host.file()); }).empty(), "what is written is read");
  require(std::ranges::equal(table.rows, again.rows, isSameRow), "what is written is read the same");
  require(again.toText() == written, "written twice is the same text");
  return true;
}

}  // namespace fuzz
