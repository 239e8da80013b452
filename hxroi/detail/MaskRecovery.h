#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>

#include "quarn/kernel/io/HxRecovery.h"

namespace hxroi {

class RecoveredMasks;

/// Tells the host of masks that were left.
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
  void remember(const RecoveredMasks& recovered);

  std::unique_ptr<RecoveredMasks> loaded_;
  std::set<std::string> known_;                  ///< stems that this process has loaded
  std::map<std::string, std::string> problems_;  ///< of loading, by stem
};

}  // namespace hxroi
