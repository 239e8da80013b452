#pragma once

#include "quarn/base/McDim3l.h"
#include "quarn/base/McInterface.h"
#include "quarn/kernel/export.h"
#include "quarn/kernel/fields/HxGeometry3.h"

/// Interface of objects with volumes on one grid. Masks over that grid refer to it: it tells the renderer where their
/// voxels lie. Every uniform scalar field in the pool offers it. For the user-interface thread.
class QUARN_KERNEL_API HxISetOfVolumeData : public McInterface {
public:
  MC_CLASS_DECL(HxISetOfVolumeData)

  /// Attaches the interface to `owner`, which deletes it.
  explicit HxISetOfVolumeData(McInterfaceOwner* owner);
  ~HxISetOfVolumeData() override;

  /// Numbers of voxels along x, y, z.
  McDim3l getDimensions() const { return doGetDimensions(); }
  /// How the voxels lie in the world.
  HxGeometry3 getGeometry() const { return doGetGeometry(); }

  virtual McDim3l doGetDimensions() const = 0;
  virtual HxGeometry3 doGetGeometry() const = 0;
};
