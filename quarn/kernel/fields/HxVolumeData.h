#pragma once

#include <QString>

#include "quarn/base/McHandable.h"
#include "quarn/base/McInterface.h"
#include "quarn/kernel/export.h"

class SoVolumeData;

/// A tiled volume as the renderer and the masks see it: an interface of a field that has one, or a thing of its own
/// made for a mask. Reference counted; the volume node is not referenced and must be forgotten before it dies.
class QUARN_KERNEL_API HxVolumeData : public McInterface, public McHandable {
public:
  MC_CLASS_DECL(HxVolumeData)

  /// Not attached to anything.
  HxVolumeData(SoVolumeData* node, const QString& label);
  /// An interface of `owner`.
  HxVolumeData(McInterfaceOwner* owner, SoVolumeData* node);

  SoVolumeData* getVolumeNode() const { return node_; }
  /// Null before the node dies.
  void setVolumeNode(SoVolumeData* node) { node_ = node; }

  const QString& getLabel() const { return label_; }
  void setLabel(const QString& label) { label_ = label; }

protected:
  ~HxVolumeData() override;

private:
  SoVolumeData* node_;
  QString label_;
};
