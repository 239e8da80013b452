#pragma once

#include <stdexcept>
#include <string>

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

/// Makes the folder when it is missing, and returns its path. It is a real folder of the user of the process that
/// nobody else can write to. Throws Refused.
std::string prepare();

/// File stem of a mask: UTC time to the microsecond, "-", `counter`, "-", process id.
std::string stem(int counter);

/// Shows the critical message that the folder containing `path` cannot be accessed, and asks the application to end.
void showAccessErrorAndQuit(const std::string& path);

}  // namespace TemporaryFolder

}  // namespace hxroi::details
