#pragma once

#include <QString>
#include <boost/filesystem/path.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hxroi/export.h"
#include "quarn/kernel/params/HxParamBundle.h"

/// What the writer and the reader of ROI set files agree on: a parameter file with one bundle per ROI, and beside it a
/// folder with the files of each mask. docs/format/roi-set.md describes both.
namespace hxroi::setfile {

using boost::filesystem::path;

inline constexpr const char* kContentType = "ContentType";
inline constexpr const char* kContentTypeValue = "HxRois";
inline constexpr const char* kMasksDirectory = "masks-directory";
inline constexpr const char* kRois = "__rois";
inline constexpr const char* kFilename = "__filename";
inline constexpr const char* kColor = "__color";
inline constexpr const char* kId = "Id";

/// Folder in which `file` stands; "." for a bare file name.
path folderOf(const path& file);

/// The absolute name of `file`, for the host.
QString absoluteName(const path& file);

/// Name of the masks folder of a set file: its stem followed by "-masks" ("set.ROIs.qm": "set.ROIs-masks").
std::string masksDirectoryName(const path& file);

/// Name of a mask's files in the masks folder, without extension: the name of the mask, or, for one that leaves no room
/// in the name of a file for what is added to it, its beginning, "~" and the checksum of all of it. No name of a ROI
/// has a "~", so that the files of two masks do not meet.
HXROI_API std::string maskFileName(std::string_view maskName);

/// Throws McException unless set and masks can be written there: the folder of `file` and, when there is one, the masks
/// folder are folders of their own (no links) that can be written, and `file` is new or a regular file.
void requireWritable(const path& file, const path& masksDir);

/// The masks folder of a set file, as its parameters name it or, when they do not, as it is usually named. Nothing is
/// checked.
path masksDirectory(const HxParamBundle& parameters, const path& file);

/// Why the masks folder that the parameters name, or that goes with `file`, must not be followed; nothing when it may,
/// whether it exists or not. The text begins with the element.
std::optional<std::string> problemOfMasksDirectory(const HxParamBundle& parameters, const path& file);

/// Everything about the form of a set file and about the folder and files it names that keeps it from being loaded: one
/// text for each element concerned, beginning with `file`.
std::vector<std::string> problemsOf(const HxParamBundle& parameters, const path& file);

/// Throws McException with all of them when there are any.
void requireSound(const HxParamBundle& parameters, const path& file);

/// Why the files that the bundle of a mask names must not be followed; nothing when they may, whether they exist or
/// not. The text begins with the element.
std::optional<std::string> problemOfFilename(const HxParamBundle& mask, const path& masksDir);

/// Whether a bundle describes a mask; all others describe groups.
bool describesMask(const HxParamBundle& bundle);

/// The bundles below `bundle`, in their order.
std::vector<const HxParamBundle*> subBundles(const HxParamBundle& bundle);

/// A mask as a set file tells of it.
struct MaskEntry {
  std::string name;
  std::string file;  ///< in the masks folder, without extension
  std::string id;    ///< empty when there is none
};

/// All masks that the parameters of a set file describe, members of groups too. Files are left out whose names are no
/// plain ones.
std::vector<MaskEntry> masksOf(const HxParamBundle& parameters);

}  // namespace hxroi::setfile
