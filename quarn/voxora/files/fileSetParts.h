#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "quarn/voxora/export.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/InputFile.h"
#include "quarn/voxora/files/VolumeHeader.h"

/// The files that belong to a header, also while a save replaces the set (docs/format/volume-header.md, "Replacing a
/// set").
namespace hxvoxora {

/// The name, or path, of a file of the given generation that is not, or no longer, the current file of this name.
QUARN_VOXORA_API std::string asideName(std::string_view name, std::uint64_t generation);

/// Open the data file or the index that `header`, read from `ldmPath`, names: the file of that name when it carries the
/// generation of the header, else the one of that generation that an unfinished save put aside. McException when there
/// is neither.
QUARN_VOXORA_API std::unique_ptr<InputFile> openDataFile(FileSystem& fileSystem, const std::string& ldmPath,
                                                         const VolumeHeader& header);
QUARN_VOXORA_API std::unique_ptr<InputFile> openIndexFile(FileSystem& fileSystem, const std::string& ldmPath,
                                                          const VolumeHeader& header);

}  // namespace hxvoxora
