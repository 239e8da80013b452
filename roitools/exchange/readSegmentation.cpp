#include "roitools/exchange/readSegmentation.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QStringList>
#include <algorithm>
#include <limits>
#include <map>
#include <new>
#include <numeric>
#include <unordered_map>
#include <utility>
#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "roitools/ShownProgress.h"
#include "roitools/exchange/ExchangedSet.h"
#include "roitools/exchange/LayeredImage.h"
#include "roitools/exchange/MaskFiller.h"
#include "roitools/exchange/SegmentTable.h"
#include "roitools/exchange/nrrdGeometry.h"

namespace roitools {

using hxroi::details::Mask;

namespace {

constexpr qsizetype mostTold = 10;

QString tr(const char* text) {
  return QCoreApplication::translate("Exchange", text);
}

[[noreturn]] void refuse(const QString& file, const std::string& what) {
  throw McException(McException::excerpt(file.toStdString()) + ": " + what);
}

QString listOf(const QStringList& names) {
  QString list = names.mid(0, mostTold).join(QStringLiteral(", "));
  if (names.size() > mostTold) list += QStringLiteral(", and %1 more").arg(names.size() - mostTold);
  return list;
}

bool isAdmitted(const HxLoadOptions& options, std::int64_t label) {
  return options.values.empty() ||
         (label >= std::numeric_limits<int>::min() && label <= std::numeric_limits<int>::max() &&
          options.admits(static_cast<int>(label)));
}

/// Turns the labels of an image into masks.
class Reading {
public:
  Reading(const QString& file, const HxLoadOptions& options)
      : file_(file),
        options_(options),
        image_(file),
        geometry_(geometryOf(image_.header(), file)),
        table_(SegmentTable::parse(image_.header(), image_.layerCount(), file)),
        isOpen_(table_.segments.empty()),
        masksOf_(static_cast<std::size_t>(image_.layerCount())) {
    for (const Segment& segment : table_.segments)
      if (isAdmitted(options, segment.labelValue)) addMask(segment);
  }

  void readVoxels() {
    ShownProgress progress(tr("Reading ") + QFileInfo(file_).fileName());
    const auto goOn = [&](double done) {
      if (!progress.goOn(done)) refuse(file_, "reading was interrupted");
    };
    while (const Slabs::Slab slab = image_.next()) {
      goOn(static_cast<double>(slab.z) / image_.grid().z);
      image_.forEachRun(slab, [this](std::int64_t layer, int y, int z, int x0, int x1, std::int64_t label) {
        for (const std::size_t mask : masksOf(layer, label, x1 - x0)) filler_.addRun(mask, y, z, x0, x1);
      });
      filler_.endPiece();
    }
    progress.setText(tr("Flushing masks"));
    for (std::size_t i = 0; i < filler_.size(); ++i) {
      goOn(static_cast<double>(i) / static_cast<double>(filler_.size()));
      filler_.mask(i).flush(Mask::AllLevels);
    }
  }

  ReadSet result() {
    ReadSet read{new HxRois, image_.grid(), geometry_, {}};
    if (filler_.size() == 0)
      refuse(file_, "holds no segments" + std::string(options_.values.empty() ? "" : " of these values"));
    setOf(namedMasks()).insertInto(*read.rois);
    tellUnnamed();
    if (lostKeys_ > 0)
      HxMessage::printf("%s: %d keys of segments have no place in a set, and are left out",
                        McException::excerpt(file_.toStdString()).c_str(), lostKeys_);
    if (image_.header().elementCount() == 1)
      HxMessage::printf("%s: describes segments, but has no image of them: its grid is one voxel",
                        McException::excerpt(file_.toStdString()).c_str());
    if (!leftOut_.isEmpty())
      read.leftOut = QStringLiteral("%1: a set holds at most %2 masks. Segments left out: %3")
                         .arg(QString::fromStdString(McException::excerpt(file_.toStdString())))
                         .arg(HxRois::kMaximumNumberOfMasks)
                         .arg(leftOut_.join(QStringLiteral(", ")));
    return read;
  }

private:
  using Masks = std::vector<std::size_t>;

  /// A mask without its name, which waits for the end: that of an image without keys comes in another order.
  void addMask(const Segment& segment) {
    Masks& masks = masksOf_[static_cast<std::size_t>(segment.layer)][segment.labelValue];
    if (filler_.size() == HxRois::kMaximumNumberOfMasks) {
      const std::string name = segment.name.empty() ? "Segment_" + std::to_string(segment.number) : segment.name;
      leftOut_.append(QString::fromStdString(McException::excerpt(name)));
      return;
    }
    McHandle<Mask> mask;
    try {
      mask = new Mask("Mask", image_.grid(), false, segment.color ? *segment.color : McColor::nextHtmlColor(), nullptr);
    } catch (const McException& failure) {
      refuse(file_, failure.what());
    }
    masks.push_back(filler_.add(mask));
    segments_.push_back(segment);
  }

  /// The masks of a label, which has `count` voxels here.
  const Masks& masksOf(std::int64_t layer, std::int64_t label, int count) {
    auto& known = masksOf_[static_cast<std::size_t>(layer)];
    const auto found = known.find(label);
    if (found != known.end()) return found->second;
    if (isOpen_ && isAdmitted(options_, label)) {
      Segment segment;
      segment.layer = layer;
      segment.labelValue = label;
      segment.name = "Segment_" + (image_.layerCount() > 1 ? std::to_string(layer) + "_" : "") + std::to_string(label);
      addMask(segment);
      return known[label];
    }
    static const Masks none;
    if (!options_.values.empty()) return none;
    constexpr std::size_t mostCounted = 10000;
    if (unnamed_.size() < mostCounted || unnamed_.contains({layer, label})) unnamed_[{layer, label}] += count;
    return none;
  }

  /// The masks in the order that they get in the set: that of the segments, or of layers and labels.
  std::vector<std::size_t> order() const {
    std::vector<std::size_t> order(segments_.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    if (isOpen_)
      std::ranges::sort(order, {},
                        [this](std::size_t i) { return std::pair(segments_[i].layer, segments_[i].labelValue); });
    return order;
  }

  std::vector<ExchangedMask> namedMasks() {
    std::vector<ExchangedMask> masks;
    for (const std::size_t i : order()) {
      const Segment& segment = segments_[i];
      Mask& mask = filler_.mask(i);
      mask.setName(names_.fit(segment.name, "Segment_" + std::to_string(segment.number)));
      lostKeys_ += keepSegment(mask, segment);
      masks.push_back({&mask, segment.group});
    }
    return masks;
  }

  /// Groups get names that no mask has.
  ExchangedSet setOf(std::vector<ExchangedMask> masks) {
    ExchangedSet set{std::move(masks), table_.groups};
    std::map<std::string, std::string> fitted;
    const auto fit = [&](std::string& name) {
      const auto [at, isNew] = fitted.try_emplace(name);
      if (isNew) at->second = names_.fit(name, "Group");
      name = at->second;
    };
    for (ExchangedGroup& group : set.groups) fit(group.name);
    for (ExchangedMask& mask : set.masks)
      if (!mask.group.empty()) fit(mask.group);
    names_.tell(file_);
    return set;
  }

  /// Nothing is passed over in silence.
  void tellUnnamed() const {
    if (unnamed_.empty()) return;
    QStringList labels;
    std::int64_t voxels = 0;
    for (const auto& [place, count] : unnamed_) {
      labels.append(QString::number(place.second));
      voxels += count;
    }
    HxMessage::printf("%s: %lld voxels have labels that are those of no segment, and are left out: %s",
                      McException::excerpt(file_.toStdString()).c_str(), static_cast<long long>(voxels),
                      qUtf8Printable(listOf(labels)));
  }

  const QString file_;
  const HxLoadOptions options_;
  LayeredImage image_;
  const HxGeometry3 geometry_;
  SegmentTable table_;
  const bool isOpen_;  ///< no segments are described: each label is one
  MaskFiller filler_;
  std::vector<Segment> segments_;                                          ///< of the masks
  std::vector<std::unordered_map<std::int64_t, Masks>> masksOf_;           ///< by layer and label
  std::map<std::pair<std::int64_t, std::int64_t>, std::int64_t> unnamed_;  ///< voxels of labels without segment
  FittedNames names_;
  int lostKeys_ = 0;  ///< of segments, that masks cannot keep
  QStringList leftOut_;
};

}  // namespace

ReadSet readSegmentation(const QString& file, const HxLoadOptions& options) {
  try {
    Reading reading(file, options);
    reading.readVoxels();
    return reading.result();
  } catch (const std::bad_alloc&) {
    refuse(file, "there is not enough memory");
  }
}

}  // namespace roitools
