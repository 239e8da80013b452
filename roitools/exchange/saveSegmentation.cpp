#include "roitools/exchange/saveSegmentation.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <algorithm>
#include <cstring>
#include <new>
#include <oneapi/tbb/parallel_for.h>
#include <span>
#include <vector>

#include "hxroi/HxRois.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/io/FileReplacement.h"
#include "quarn/kernel/io/GzipWriter.h"
#include "quarn/kernel/io/NrrdHeader.h"
#include "quarn/kernel/io/nrrdPlace.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "roitools/ShownProgress.h"
#include "roitools/exchange/ExchangedSet.h"
#include "roitools/exchange/SegmentTable.h"
#include "roitools/exchange/Slabs.h"
#include "roitools/exchange/placeOfSet.h"
#include "roitools/exchange/sharedVoxels.h"

namespace roitools {

using hxroi::details::Mask;
using quarn::NrrdHeader;

namespace {

constexpr std::int64_t slabBytes = 8 << 20;

QString tr(const char* text) {
  return QCoreApplication::translate("Exchange", text);
}

[[noreturn]] void refuse(const QString& file, const std::string& what) {
  throw McException(McException::excerpt(file.toStdString()) + ": " + what);
}

/// What is written: everything is taken down before the progress display lets events run, which may change the set.
struct Writing {
  ExchangedSet set;
  HxGeometry3 geometry;
  McVec3i grid;
  std::vector<MaskContent> contents;
  std::vector<int> layers;  ///< assigned later, since that may take time

  std::size_t layerCount() const { return static_cast<std::size_t>(*std::ranges::max_element(layers)) + 1; }

  Writing(const HxRois& rois, const QString& file)
      : set(ExchangedSet::of(rois, file)), geometry(geometryToWrite(rois, file)), grid(rois.dimensions()) {
    for (const ExchangedMask& entry : set.masks)
      contents.push_back({entry.mask->volumeMask()->snapshot(), entry.mask->getBoundingBox()});
  }

  NrrdHeader header(const SegmentTable& table) const {
    NrrdHeader header;
    header.version = 4;
    header.encoding = NrrdHeader::Encoding::gzip;
    const std::size_t listAxes = layerCount() > 1 ? 1 : 0;
    header.sizes.assign(listAxes, static_cast<std::int64_t>(layerCount()));
    header.kinds.assign(listAxes, "list");
    for (int axis = 0; axis < 3; ++axis) {
      header.sizes.push_back(grid[axis]);
      header.kinds.emplace_back("domain");
    }
    quarn::setNrrdPlace(header, geometry, listAxes);
    table.write(header, contents);
    return header;
  }
};

/// Sets the voxels of masks in a piece of the file. Masks touch different bytes, so all may be drawn at once.
void draw(const Writing& writing, const SegmentTable& table, const Slabs::Slab& slab,
          std::vector<std::uint8_t>& bytes) {
  const std::size_t layers = writing.layerCount();
  const auto rowBytes = static_cast<std::size_t>(writing.grid.x) * layers;
  bytes.assign(static_cast<std::size_t>(slab.bytes), 0);
  const auto y0 = static_cast<int>(slab.y), z0 = static_cast<int>(slab.z);
  const McBox3i rows(0, writing.grid.x - 1, y0, y0 + static_cast<int>(slab.rows) - 1, z0,
                     z0 + static_cast<int>(slab.slices) - 1);
  tbb::parallel_for(std::size_t{0}, writing.contents.size(), [&](std::size_t i) {
    const McBox3i box = hxroi::intersection(writing.contents[i].box, rows);
    if (box.isEmpty()) return;
    const auto layer = static_cast<std::size_t>(writing.layers[i]);
    const auto label = static_cast<std::uint8_t>(table.segments[i].labelValue);
    const SbBox3i32 common(SbVec3i32(box[0], box[2], box[4]), SbVec3i32(box[1], box[3], box[5]));
    writing.contents[i].voxels.forEachRun(common, [&](int y, int z, int x0, int x1) {
      const auto row = static_cast<std::size_t>((z - z0) * slab.rows + (y - y0));
      std::uint8_t* voxel = bytes.data() + row * rowBytes + static_cast<std::size_t>(x0) * layers + layer;
      if (layers == 1) {
        std::memset(voxel, label, static_cast<std::size_t>(x1 - x0));
        return;
      }
      for (int x = x0; x < x1; ++x, voxel += layers) *voxel = label;
    });
  });
}

[[noreturn]] void refuseInterrupted(const QString& file) {
  refuse(file, "saving was interrupted, nothing has changed there");
}

void write(const Writing& writing, quarn::FileReplacement& target, const QString& file, ShownProgress& progress) {
  const SegmentTable table = SegmentTable::of(writing.set, writing.layers);
  const NrrdHeader fields = writing.header(table);
  const std::string header = fields.toText(file);
  // What cannot be read again is not written.
  SegmentTable::parse(fields, static_cast<std::int64_t>(writing.layerCount()), file);
  target.file().append(std::as_bytes(std::span(header)));
  quarn::GzipWriter gzip(target.file());
  const auto rowBytes = static_cast<std::int64_t>(writing.grid.x) * static_cast<std::int64_t>(writing.layerCount());
  Slabs slabs(rowBytes, writing.grid.y, writing.grid.z, slabBytes);
  std::vector<std::uint8_t> bytes;
  while (const Slabs::Slab slab = slabs.next()) {
    if (!progress.goOn(static_cast<double>(slab.z) / writing.grid.z)) refuseInterrupted(file);
    draw(writing, table, slab, bytes);
    gzip.append(std::as_bytes(std::span(bytes)));
  }
  gzip.finish();
}

}  // namespace

void saveSegmentation(const HxRois& rois, const QString& file) {
  try {
    Writing writing(rois, file);
    quarn::FileReplacement target(file);
    ShownProgress progress(tr("Looking for overlaps"));
    const auto overlaps = countSharedVoxels(writing.contents, [&](double done) { return progress.goOn(done); });
    if (!overlaps) refuseInterrupted(file);
    writing.layers = assignLayers(*overlaps);
    progress.setText(tr("Saving ") + QFileInfo(file).fileName());
    write(writing, target, file, progress);
    target.commit();
  } catch (const McException& failure) {
    const std::string name = McException::excerpt(file.toStdString());
    const std::string text = failure.what();
    if (text.starts_with(name + ": ")) throw;
    refuse(file, "cannot be saved: " + text);
  } catch (const std::bad_alloc&) {
    refuse(file, "cannot be saved: there is not enough memory");
  }
  tellWhatIsNotExchanged(rois, file, true);
}

}  // namespace roitools
