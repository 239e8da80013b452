#pragma once

#include <string>

#include "quarn/voxora/export.h"
#include "quarn/voxora/nodes/SbTypes.h"
#include "quarn/voxora/nodes/SoLDMDataAccess.h"
#include "quarn/voxora/nodes/SoNode.h"

class SoCpuBufferObject;
class SoVolumeReader;

/// A volume as the toolkit sees it: its grid, where it lies in the world, and the file it comes from. One thread at a
/// time may change it; data access is safe beside that.
class QUARN_VOXORA_API SoDataSet : public SoNode {
public:
  enum DataType {
    UNSIGNED_BYTE = 0,
    UNSIGNED_SHORT = 1,
    UNSIGNED_INT32 = 2,
    SIGNED_BYTE = 4,
    SIGNED_SHORT = 5,
    SIGNED_INT32 = 6,
    FLOAT = 10,
  };

  /// Voxels along each axis; (0, 0, 0) without data, and when the bound file cannot be read.
  virtual SbVec3i32 dataDimension() const = 0;

  /// Voxels of a tile along each axis; (0, 0, 0) without data.
  virtual SbVec3i32 getTileDimension() const = 0;

  /// Resolution levels, level 0 included: the last one is the first to fit into one tile. 0 without data.
  virtual int levelCount() const = 0;

  const SoLDMDataAccess& getLdmDataAccess() const { return dataAccess_; }

  /// The reader of the bound file, an SoLDMReader for a tiled file; null for a volume that is only in memory or whose
  /// file cannot be read. Valid until the data set is bound, saved or initialised again.
  virtual SoVolumeReader* reader() const = 0;

  /// Binds the data set to a file: grid and voxels come from it from now on, edits that were not saved are dropped. An
  /// empty name leaves a data set without data. Never throws for a file that is missing or damaged; see fileError().
  virtual void setFileName(const std::string& path) = 0;

  /// The path of the bound file in the system's narrow encoding; empty for a volume that is only in memory.
  virtual const std::string& fileName() const = 0;

  /// Why the bound file cannot be read, naming file, element and value; empty when all is well.
  virtual const std::string& fileError() const = 0;

  /// The box in world coordinates that the volume fills; (0, 0, 0) to (1, 1, 1) at first.
  const SbBox3f& extent() const { return extent_; }
  void setExtent(const SbBox3f& extent) { extent_ = extent; }

protected:
  SoDataSet();
  ~SoDataSet() override;

private:
  friend class SoLDMDataAccess;

  /// SoLDMDataAccess::getData(), with its promises.
  virtual void fetchBox(int level, const SbBox3i32& box, SoCpuBufferObject& buffer) const = 0;

  SbBox3f extent_;
  SoLDMDataAccess dataAccess_;
};
