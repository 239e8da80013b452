#pragma once

#include <memory>

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
  void discardLoaded() override;
  int discardAll() override;
  void checkpoint() override;

private:
  std::unique_ptr<RecoveredMasks> loaded_;
};

}  // namespace hxroi
