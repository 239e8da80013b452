#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "hxroi/export.h"
#include "quarn/base/McBox3i.h"

namespace hxroi::details {

/// Edits of the text of a mask's header (".ldm"). Nothing here touches files.
namespace MaskHeader {

/// Elements in which a mask keeps its boxes.
inline constexpr const char* kBoundingBox = "BoundingBox";
inline constexpr const char* kApproximatedBoundingBox = "ApproximatedBoundingBox";

/// Names of the files that a header speaks of, without folder.
struct FileNames {
  std::string data;
  std::string index;
};

/// Six decimal integers with single blanks: xmin xmax ymin ymax zmin zmax.
HXROI_API std::string boxText(const McBox3i& box);

/// Reads six integers parted by blanks. A missing minimum is 1, a missing maximum -1. Nothing for a text with anything
/// else in it.
HXROI_API std::optional<McBox3i> parseBox(std::string_view text);

/// The header with exactly these boxes: the first element of each kind is taken out, those given are put in at the end.
/// Nothing when the text is not a header that may be edited: not XML, without root element "VolumeInformation", with a
/// document type, nested deeper than 64 elements, or longer than 1 MiB.
HXROI_API std::optional<std::string> withBoxes(const std::string& header, const std::optional<McBox3i>& exact,
                                               const std::optional<McBox3i>& approximated);

/// The header in which each line has the first occurrence of `from.data`, letter case ignored, replaced by `to.data`,
/// and after that the first one of `from.index` by `to.index`. Each line ends in LF.
HXROI_API std::string withReplacedNames(const std::string& header, const FileNames& from, const FileNames& to);

/// The header whose elements for the file names hold `names`; as withBoxes, nothing when it may not be edited.
HXROI_API std::optional<std::string> withNames(const std::string& header, const FileNames& names);

}  // namespace MaskHeader

}  // namespace hxroi::details
