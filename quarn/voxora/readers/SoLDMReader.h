#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "quarn/voxora/export.h"
#include "quarn/voxora/files/TiledFileReader.h"
#include "quarn/voxora/readers/SoVolumeReader.h"

/// The reader of a tiled volume file (".ldm"). Reading may be done from several threads at once.
class QUARN_VOXORA_API SoLDMReader : public SoVolumeReader {
public:
  /// Without a file.
  SoLDMReader();
  /// Serves an open file.
  explicit SoLDMReader(std::shared_ptr<const hxvoxora::TiledFileReader> file);

  /// The open file; null when there is none.
  const std::shared_ptr<const hxvoxora::TiledFileReader>& file() const { return file_; }

  /// The header in use; null when none was read.
  const hxvoxora::VolumeHeader* header() const;

  /// The text of a direct child element of the header's root, exactly as it stands; empty for an element without text.
  /// No value when there is no header, no such element, or several that contradict each other. Never throws.
  std::optional<std::string> findHeaderTag(std::string_view name) const;

  bool getIsBuiltIn() const override;
  SoType getTypeId() const override;
  /// The unit box, unsigned bytes, and the dimensions of the header; 1 without a header.
  int getDataChar(SbBox3f& size, SoDataSet::DataType& type, SbVec3i32& dimension) override;
  /// One byte per voxel, 0 or 1; voxels of tiles that were never written are 0. The rectangle must lie in the volume.
  /// With xmin > xmax exactly one voxel is written, the one at the lower corner. McException for a tile that cannot be
  /// read, and without a file.
  void getSubSlice(const SbBox2i32& subSlice, int sliceNumber, void* data) override;

  static void initClass();
  static void exitClass();
  static SoType getClassTypeId();
  static void* createInstance(SoType* type);

protected:
  ~SoLDMReader() override;

  /// Makes the reader serve a header alone, without tiles, or nothing.
  void setHeader(std::optional<hxvoxora::VolumeHeader> header);

private:
  std::shared_ptr<const hxvoxora::TiledFileReader> file_;
  std::optional<hxvoxora::VolumeHeader> header_;
};
