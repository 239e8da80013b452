#pragma once

#include "quarn/kernel/export.h"
#include "quarn/kernel/objects/HxObject.h"

/// Edits one data object; the object holds it, see HxData::setEditor().
class QUARN_KERNEL_API HxEditor : public HxObject {
public:
  MC_CLASS_DECL(HxEditor)

  /// The object being edited; null while the editor is not attached.
  HxData* data() const { return data_; }

protected:
  HxEditor() = default;
  ~HxEditor() override;

private:
  friend class HxData;

  HxData* data_ = nullptr;
};
