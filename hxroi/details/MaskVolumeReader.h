#pragma once

#include <atomic>

#include "hxroi/export.h"
#include "quarn/voxora/readers/SoVolumeReader.h"

namespace hxroi::details {

class Mask;

/// Serves the voxels of a mask to the toolkit as an ordinary volume of unsigned bytes, 0 and 1.
///
/// The class registers itself with the toolkit when the library is loaded, as "MaskVolumeReader"; readers are made by
/// the toolkit's type table and bound to a mask by setMask().
///
/// Slices may be asked for by several threads at once, also while the mask is edited: each call sees the mask as it is
/// at that moment.
class HXROI_API MaskVolumeReader : public SoVolumeReader {
public:
  /// Without a mask.
  MaskVolumeReader();

  /// Binds the reader to a mask, which is not owned and outlives its use here; null unbinds it. Tells the listeners
  /// that they must read again.
  void setMask(const Mask* mask);

  /// False: this is no class of the toolkit itself.
  bool getIsBuiltIn() const override;
  /// Not null: made with the first reader. Starts with the fields of the parent class.
  const SoFieldData* getFieldData() const override;
  SoType getTypeId() const override;

  /// The unit box, unsigned bytes, and the dimensions of the mask. Returns 0; 1 without a mask, and the arguments are
  /// then unchanged.
  int getDataChar(SbBox3f& size, SoDataSet::DataType& type, SbVec3i32& dimension) override;

  /// One byte per voxel, 0 or 1, x fastest, without row padding. The rectangle, both corners inclusive, must lie in the
  /// slice. With xmin > xmax exactly one byte is written, for the lower corner; else with ymin > ymax none. McException
  /// without a mask, outside of it, and for a tile that cannot be read.
  void getSubSlice(const SbBox2i32& subSlice, int sliceNumber, void* data) override;

  static void initClass();
  static void exitClass();
  /// The bad type while the class is not registered.
  static SoType getClassTypeId();
  static void* createInstance(SoType* type);

protected:
  ~MaskVolumeReader() override;

private:
  std::atomic<const Mask*> mask_{nullptr};
};

}  // namespace hxroi::details
