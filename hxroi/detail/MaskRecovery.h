#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "quarn/kernel/io/HxRecovery.h"

class HxRois;

namespace hxroi {

class RecoveredMasks;

/// Tells the host of masks and sets that were left, and writes those of this process so that they can be.
class MaskRecovery : public HxRecoveryProvider {
public:
  MaskRecovery();
  ~MaskRecovery() override;

  bool hasAny() override;
  std::vector<HxLeftOver> list() override;
  std::vector<McHandle<HxData>> load() override;
  int discardLoaded() override;
  void keepLoaded() override;
  int discardAll() override;
  void checkpoint() override;
  void keepUnsaved() override;

private:
  /// Where the record of a set stands, and what it says.
  struct Record {
    std::string file;
    std::string text;
  };

  void remember(const RecoveredMasks& recovered);
  void writeRecord(const HxRois& rois);
  void removeRecordsOfTheGone(const std::vector<McHandle<HxRois>>& present);

  std::unique_ptr<RecoveredMasks> loaded_;
  std::map<const HxRois*, Record> records_;
  std::set<std::string> known_;                  ///< stems that this process has loaded
  std::map<std::string, std::string> problems_;  ///< of loading, by stem
};

}  // namespace hxroi
