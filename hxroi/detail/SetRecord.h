#pragma once

#include <functional>
#include <memory>
#include <string>

#include "hxroi/export.h"
#include "quarn/base/McHandle.h"

class HxRois;
class QuarnMesh;

namespace hxroi {

namespace details {
class Mask;
}

/// What there is to a ROI set besides voxels, as a file in the temporary storage: label, parameters, ROIs in their
/// order with groups, colours, identifiers and parameters, and where each mask has its voxels. A set that was not saved
/// comes back whole by it.
namespace SetRecord {

/// Ends the name of such a file; its stem is one of its own.
inline constexpr const char* kExtension = ".set";

/// The content of the record of a set.
QuarnMesh of(const HxRois& rois);

/// Writes the record of a set to `file`, in one step. McException naming the file.
HXROI_API void write(const HxRois& rois, const std::string& file);

/// Reads a record. McException naming file, ROI, element and value when it is none.
HXROI_API std::unique_ptr<QuarnMesh> read(const std::string& file);

/// Number of masks, and the label of the set, of a record.
HXROI_API int maskCount(const QuarnMesh& record);
HXROI_API std::string label(const QuarnMesh& record);

/// Gives the mask of that name whose files in the temporary storage have the stem; null when it is lost.
using LoadStored = std::function<McHandle<details::Mask>(const std::string& stem, const std::string& name)>;

/// The set of a record. A mask that is lost, or does not fit, is told on the console and left out.
HXROI_API McHandle<HxRois> load(const QuarnMesh& record, const LoadStored& loadStored);

}  // namespace SetRecord

}  // namespace hxroi
