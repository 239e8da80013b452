#pragma once

#include <QString>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "quarn/base/McColor.h"
#include "quarn/kernel/io/NrrdHeader.h"
#include "roitools/exchange/ExchangedSet.h"
#include "roitools/exchange/sharedVoxels.h"
#include "roitools/export.h"

namespace roitools {

/// One segment as the keys of a segmentation file describe it; texts are UTF-8.
struct Segment {
  int number = 0;  ///< N of the keys "SegmentN_..."
  std::string name;
  std::optional<McColor> color;
  std::int64_t layer = 0;
  std::int64_t labelValue = 0;
  std::string group;
  std::map<std::string, std::string> others;  ///< all other keys, without "SegmentN_"
};

/// The segments and groups of a segmentation file, by the keys of its header (docs/format/exchange.md).
struct ROITOOLS_API SegmentTable {
  std::vector<Segment> segments;  ///< by their numbers
  std::vector<ExchangedGroup> groups;

  /// Throws McException naming `file`, key and value for numbers, layers and colours that are none, and for keys that
  /// stand there twice.
  static SegmentTable parse(const quarn::NrrdHeader& header, std::int64_t layerCount, const QString& file);

  /// The segments of a set, in its order. `contents` and `layers` are those of its masks.
  static SegmentTable of(const ExchangedSet& set, const std::vector<int>& layers);

  /// Adds the keys. `contents` are those of the masks.
  void write(quarn::NrrdHeader& header, const std::vector<MaskContent>& contents) const;
};

/// What a mask keeps of the segment that it was made of, for the next time it is written. Returns the number of keys
/// that cannot be kept: parameters have no such names, or there are too many.
int keepSegment(hxroi::details::Mask& mask, const Segment& segment);

}  // namespace roitools
