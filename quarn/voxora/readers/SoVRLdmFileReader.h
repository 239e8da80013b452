#pragma once

#include <string>

#include "quarn/voxora/export.h"
#include "quarn/voxora/readers/SoLDMReader.h"

namespace hxvoxora {
class FileSystem;
}

/// Looks at the header of a tiled volume file without touching index and data, which may be missing or of an older
/// layout.
class QUARN_VOXORA_API SoVRLdmFileReader : public SoLDMReader {
public:
  /// Reads headers from the files of this computer.
  SoVRLdmFileReader();
  explicit SoVRLdmFileReader(hxvoxora::FileSystem& fileSystem);

  /// Reads the header of this file. Returns false, and tells why in headerError(), when it is missing or not a valid
  /// header; never throws for that. A header read before is forgotten either way.
  bool openHeader(const std::string& path);

  /// Why the last openHeader() failed, naming file, element and value; empty after success.
  const std::string& headerError() const { return error_; }

  /// True when the header says that tiles repeat voxels of their neighbours, as files of the older layout do; false
  /// also when no header was read.
  bool hasTileBorders() const;

  SoType getTypeId() const override;

  static void initClass();
  static void exitClass();
  static SoType getClassTypeId();
  static void* createInstance(SoType* type);

protected:
  ~SoVRLdmFileReader() override;

private:
  hxvoxora::FileSystem& fileSystem_;
  std::string error_;
};
