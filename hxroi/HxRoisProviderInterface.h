#pragma once

#include "hxroi/export.h"
#include "quarn/base/McInterface.h"

class HxRois;

/// Interface of objects that can hand out a ROI set. Whoever takes ROIs takes, besides a set itself, an object that
/// offers this.
class HXROI_API HxRoisProviderInterface : public McInterface {
public:
  MC_CLASS_DECL(HxRoisProviderInterface)

  /// Attaches the interface to `owner`, which deletes it.
  explicit HxRoisProviderInterface(McInterfaceOwner* owner);
  ~HxRoisProviderInterface() override;

  /// The ROI set; null when there is none. The provider keeps it alive. For the user-interface thread.
  virtual HxRois* getHxRois() = 0;
};
