#pragma once

#include <boost/filesystem/path.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "quarn/base/McVec3i.h"
#include "quarn/kernel/io/HxFileTypes.h"

class HxParamBundle;
class QuarnMesh;

namespace hxvoxora {
class TiledFileReader;
struct VolumeCheck;
}  // namespace hxvoxora

namespace hxroi {

/// Checks a saved ROI set to the last byte, without loading it: the form of its parameters, the rules of a set, and of
/// each mask header, index, every tile with its checksum, and the boxes.
class SetVerifier {
public:
  /// `report` gets one finding for each sound mask, and one for everything that is wrong. It outlives the verifier.
  SetVerifier(boost::filesystem::path file, const HxVerificationReport& report);

  /// `mesh` was read from the file. The set is kept as it is while it is checked; a save or
  /// an upgrade that was interrupted is finished before.
  void run(const QuarnMesh& mesh);

private:
  void finishUpgrade(const HxParamBundle& parameters) const;
  void check(const HxParamBundle& parameters);
  void checkRoi(const HxParamBundle& roi);
  void checkName(const HxParamBundle& roi);
  void checkMask(const HxParamBundle& mask);
  static void checkNames(const hxvoxora::TiledFileReader& file, const std::string& name,
                         std::vector<std::string>& problems);
  void checkGrid(const hxvoxora::TiledFileReader& file, std::vector<std::string>& problems);
  void reportStrangers();
  void reportUnsound(const HxParamBundle& roi, const std::string& problem);

  const boost::filesystem::path file_;
  const HxVerificationReport& report_;
  boost::filesystem::path masksDir_;
  std::set<std::string> names_;
  std::set<std::string> files_;  ///< of masks, without folder and extension
  int masks_ = 0;
  std::optional<McVec3i> dimensions_, tileDimensions_;  ///< of the first mask that can be read
};

}  // namespace hxroi
