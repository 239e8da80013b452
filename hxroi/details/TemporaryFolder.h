#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include "hxroi/export.h"

namespace hxroi::details {

/// The folder of the private files of all masks: "tmp-masks" in the temporary directory of the preferences. All paths
/// are in the local 8-bit encoding.
namespace TemporaryFolder {

/// A folder that masks cannot keep their files in.
class Refused : public std::runtime_error {
public:
  explicit Refused(const std::string& folder) : std::runtime_error(folder) {}

  /// The path that was refused.
  std::string folder() const { return what(); }
};

/// Where it is or would be. Nothing is looked at.
HXROI_API std::string path();

/// A prefix in the folder for the files of a mask; nothing when there is a file of this prefix already, so that the
/// next counter has to be tried. Makes the folder when it is missing, and a mark of this process in it, which is for
/// others the sign that its files are in use. It is a real folder of the user of the process that nobody else can write
/// to. Throws Refused. One thread at a time.
std::optional<std::string> prefix(int counter);

/// The files of this prefix stay when the process leaves, as left-overs for others.
HXROI_API void keep(const std::string& prefix);

/// Removes what this process still has in its folders, and its marks; to be called when no mask has files any more. The
/// next prefix makes a new mark. Marks on a file system that was current must have gone before it ends.
HXROI_API void leave() noexcept;

/// Shows the critical message that the folder containing `path` cannot be accessed, and asks the application to end.
void showAccessErrorAndQuit(const std::string& path);

}  // namespace TemporaryFolder

}  // namespace hxroi::details
