#pragma once

#include <cstdint>
#include <string>

#include "quarn/base/McBox3f.h"
#include "quarn/base/McDim3l.h"
#include "quarn/kernel/fields/McPrimType.h"
#include "quarn/kernel/params/HxParamBundle.h"

namespace quarn::detail {

/// Names in the parameter file of a field.
namespace fieldfile {
inline constexpr const char* contentType = "ContentType";
inline constexpr const char* scalarContent = "HxUniformScalarField3";
inline constexpr const char* labelContent = "HxUniformLabelField3";
inline constexpr const char* field = "field";
inline constexpr const char* parameters = "parameters";
}  // namespace fieldfile

/// What the parameter file of a field says about its voxels; docs/format/field.md.
struct FieldDescription {
  bool isLabelField = false;
  McPrimType type = McPrimType::Uint8;
  McDim3l dimensions;
  McBox3f box;
  std::string dataFile;  ///< name without folder
  std::uint64_t dataBytes = 0;
  std::uint64_t generation = 0;
  std::uint64_t tableChecksum = 0;
  std::string replaces;  ///< empty for none

  /// Bytes of all voxels.
  std::uint64_t voxelBytes() const;

  /// Adds content type and description to an empty tree.
  void write(HxParamBundle& root) const;

  /// Takes the description out of a tree. Throws McException naming element and value, not the file.
  static FieldDescription parse(const HxParamBundle& root);
};

}  // namespace quarn::detail
