#pragma once

#include <QString>
#include <cstdint>

#include "quarn/kernel/export.h"
#include "quarn/kernel/io/ByteStream.h"
#include "quarn/kernel/io/NrrdHeader.h"

namespace quarn {

/// Where and how the data of an NRRD file are stored.
struct NrrdData {
  QString file;              ///< the file of the header, or one beside it
  std::uint64_t offset = 0;  ///< of the first stored byte
  std::int64_t skip = 0;     ///< bytes in front of the data, after unpacking
  ByteStream::Form form = ByteStream::Form::plain;
  bool isByteSwapped = false;  ///< the elements have the other byte order than this machine

  /// Looks at header and files, not at the data.
  ///
  /// @throws McException naming `file`, field and value when the data are in another file than a regular one in the
  ///   same folder (a link is none), or stored in a way that is not read.
  QUARN_KERNEL_API static NrrdData find(const NrrdHeader& header, const QString& file);
};

}  // namespace quarn
