#pragma once

#include "quarn/voxora/export.h"
#include "quarn/voxora/nodes/SbTypes.h"
#include "quarn/voxora/tiles/Counted.h"

/// Base of the toolkit's nodes: a reference count, 0 at birth, and a name. Nothing in the toolkit keeps a reference to
/// a node: referenceCount() == 1 tells a holder that it is the last one.
class QUARN_VOXORA_API SoNode : public hxvoxora::Counted {
public:
  const SbName& getName() const { return name_; }
  void setName(const SbName& name) { name_ = name; }

protected:
  SoNode();
  ~SoNode() override;

private:
  SbName name_;
};
