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

/// Bytes of the three files of the set at `ldmPath`, of the current or an older layout. McException when one is
/// missing.
QUARN_VOXORA_API std::uint64_t fileSetBytes(FileSystem& fileSystem, const std::string& ldmPath);

/// A number to mark a save or its new files with: random, never 0.
QUARN_VOXORA_API std::uint64_t drawGeneration();

/// Puts new files in the place of the set at `ldmPath`. They stand beside it under asideName(name, mark): the header,
/// and the two files that `header`, the new one, names. At every moment the old or the new set can be read. Throws
/// McException when a step fails; everything then has its former name again, as far as possible. Files under other
/// names are never touched.
QUARN_VOXORA_API void putInPlace(FileSystem& fileSystem, const std::string& ldmPath, const VolumeHeader& header,
                                 std::uint64_t mark);

/// Removes what saves of the set at `ldmPath` left under aside names when their process ended, but does nothing while
/// somebody has locked a data file of the set, be it one under an aside name. `header` tells the names.
QUARN_VOXORA_API void removeAbandonedFiles(FileSystem& fileSystem, const std::string& ldmPath,
                                           const VolumeHeader& header) noexcept;

}  // namespace hxvoxora
