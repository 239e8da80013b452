#include "roitools/exchange/readSegmentation.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QStringList>
#include <algorithm>
#include <limits>
#include <map>
#include <new>
#include <numeric>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "roitools/ShownProgress.h"
#include "roitools/exchange/ExchangedSet.h"
#include "roitools/exchange/LayeredImage.h"
#include "roitools/exchange/MaskFiller.h"
#include "roitools/exchange/SegmentTable.h"

namespace roitools {

using hxroi::details::Mask;

namespace {

constexpr std::size_t mostLabelsTold = 10;
constexpr qsizetype mostSegmentsTold = 100;

/// A label of a layer.
using Place = std::pair<std::int64_t, std::int64_t>;

QString tr(const char* text) {
  return QCoreApplication::translate("Exchange", text);
}

[[noreturn]] void refuse(const QString& file, const std::string& what) {
  throw McException(McException::excerpt(file.toStdString()) + ": " + what);
}

/// Labels that get no mask. An image may hold as many as voxels: only so many are told apart.
class PassedLabels {
public:
  void add(const Place& place, int voxels) {
    voxels_ += voxels;
    if (places_.size() < mostTold) {
      places_.insert(place);
    } else if (!isMore_) {
      isMore_ = !places_.contains(place);
    }
  }

  bool isEmpty() const { return places_.empty(); }
  std::int64_t voxels() const { return voxels_; }

  /// The first `most`, and how many others.
  template <class Name>
  QString list(std::size_t most, const Name& nameOf) const {
    QStringList names;
    for (const Place& place : places_) {
      if (static_cast<std::size_t>(names.size()) == most) break;
      names.append(nameOf(place));
    }
    QString list = names.join(QStringLiteral(", "));
    const std::size_t others = places_.size() - static_cast<std::size_t>(names.size());
    if (isMore_) {
      list += QStringLiteral(", and more than %1 others").arg(others);
    } else if (others > 0) {
      list += QStringLiteral(", and %1 more").arg(others);
    }
    return list;
  }

private:
  static constexpr std::size_t mostTold = 10000;

  std::set<Place> places_;
  std::int64_t voxels_ = 0;
  bool isMore_ = false;  ///< than could be told apart
};

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
        geometry_(image_.geometry()),
        table_(SegmentTable::parse(image_.header(), image_.layerCount(), file)),
        isOpen_(table_.segments.empty()) {
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
        if (const std::optional<std::size_t> mask = maskOf({layer, label}, x1 - x0))
          filler_.addRun(*mask, y, z, x0, x1);
      });
      filler_.endPiece();
    }
    progress.setText(tr("Flushing masks"));
    for (std::size_t i = 0; i < filler_.size(); ++i) {
      goOn(static_cast<double>(i) / static_cast<double>(filler_.size()));
      copyTwin(i);
      filler_.mask(i).flush(Mask::AllLevels);
    }
  }

  ReadSet result() {
    ReadSet read{new HxRois, image_.grid(), geometry_, {}};
    if (filler_.size() == 0)
      refuse(file_, "holds no segments" + std::string(options_.values.empty() ? "" : " of these values"));
    setOf(namedMasks()).insertInto(*read.rois, file_);
    tellUnnamed();
    if (lostKeys_ > 0)
      HxMessage::printf("%s: %d keys of segments have no place in a set, and are left out",
                        McException::excerpt(file_.toStdString()).c_str(), lostKeys_);
    if (image_.header().elementCount() == 1)
      HxMessage::printf("%s: describes segments, but has no image of them: its grid is one voxel",
                        McException::excerpt(file_.toStdString()).c_str());
    if (const QString names = leftOut(); !names.isEmpty())
      read.leftOut = QStringLiteral("%1: a set holds at most %2 masks. Segments left out: %3")
                         .arg(QString::fromStdString(McException::excerpt(file_.toStdString())),
                              QString::number(HxRois::kMaximumNumberOfMasks), names);
    return read;
  }

private:
  /// A mask without its name, which waits for the end: that of an image without keys comes in another order.
  void addMask(const Segment& segment) {
    const Place place(segment.layer, segment.labelValue);
    if (filler_.size() == HxRois::kMaximumNumberOfMasks) {
      passedPlaces_.insert(place);
      const std::string name = segment.name.empty() ? "Segment_" + std::to_string(segment.number) : segment.name;
      if (++passedSegments_ <= mostSegmentsTold)
        passedNames_.append(QString::fromStdString(McException::excerpt(name)));
      return;
    }
    McHandle<Mask> mask;
    try {
      mask = new Mask("Mask", image_.grid(), false, segment.color ? *segment.color : McColor::nextHtmlColor(), nullptr);
    } catch (const McException& failure) {
      refuse(file_, failure.what());
    }
    maskOf_.try_emplace(place, filler_.add(mask));
    segments_.push_back(segment);
  }

  /// Segments may share a label: only the mask of the first is drawn.
  void copyTwin(std::size_t i) const {
    const std::size_t first = maskOf_.at({segments_[i].layer, segments_[i].labelValue});
    if (first == i) return;
    filler_.mask(i).setContent(filler_.mask(first).volumeMask()->snapshot());
    filler_.mask(i).setBoundingBox(filler_.mask(first).getBoundingBox());
  }

  /// The mask to draw a label into, which has `count` voxels here.
  std::optional<std::size_t> maskOf(const Place& place, int count) {
    if (const auto found = maskOf_.find(place); found != maskOf_.end()) return found->second;
    if (passedPlaces_.contains(place)) return std::nullopt;
    if (!isOpen_ || !isAdmitted(options_, place.second)) {
      if (options_.values.empty()) unnamed_.add(place, count);
      return std::nullopt;
    }
    if (filler_.size() == HxRois::kMaximumNumberOfMasks) {
      passed_.add(place, count);
      return std::nullopt;
    }
    Segment segment;
    segment.layer = place.first;
    segment.labelValue = place.second;
    segment.name = nameOf(place).toStdString();
    addMask(segment);
    return maskOf_.at(place);
  }

  /// Of a label that no segment describes.
  QString nameOf(const Place& place) const {
    const QString layer = image_.layerCount() > 1 ? QString::number(place.first) + QLatin1Char('_') : QString();
    return QStringLiteral("Segment_") + layer + QString::number(place.second);
  }

  /// Names of what the set has no room for; empty for nothing.
  QString leftOut() const {
    if (!passed_.isEmpty()) return passed_.list(mostSegmentsTold, [this](const Place& place) { return nameOf(place); });
    QString list = passedNames_.join(QStringLiteral(", "));
    if (passedSegments_ > mostSegmentsTold)
      list += QStringLiteral(", and %1 more").arg(passedSegments_ - mostSegmentsTold);
    return list;
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
    if (unnamed_.isEmpty()) return;
    const auto labelOf = [](const Place& place) { return QString::number(place.second); };
    HxMessage::printf("%s: %lld voxels have labels that are those of no segment, and are left out: %s",
                      McException::excerpt(file_.toStdString()).c_str(), static_cast<long long>(unnamed_.voxels()),
                      qUtf8Printable(unnamed_.list(mostLabelsTold, labelOf)));
  }

  const QString file_;
  const HxLoadOptions options_;
  LayeredImage image_;
  const HxGeometry3 geometry_;
  SegmentTable table_;
  const bool isOpen_;  ///< no segments are described: each label is one
  MaskFiller filler_;
  std::vector<Segment> segments_;        ///< of the masks
  std::map<Place, std::size_t> maskOf_;  ///< the first mask of each label
  PassedLabels unnamed_;                 ///< those of no segment
  PassedLabels passed_;                  ///< those of an image without segments for which there is no room
  std::set<Place> passedPlaces_;         ///< those of segments for which there is no room
  QStringList passedNames_;              ///< of these, the first
  qsizetype passedSegments_ = 0;
  FittedNames names_;
  int lostKeys_ = 0;  ///< of segments, that masks cannot keep
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
