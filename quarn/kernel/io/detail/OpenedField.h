#pragma once

#include <QString>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/kernel/io/detail/FieldDataReader.h"
#include "quarn/kernel/io/detail/FieldDescription.h"
#include "quarn/voxora/files/FileSystem.h"

namespace quarn::detail {

/// A saved field whose two files are known to belong together, before its voxels are read.
class OpenedField {
public:
  /// `mesh` was read from `file` and must outlive the object. When the file was saved again since then, what is in it
  /// now counts. Throws McException naming file, element and value.
  OpenedField(hxvoxora::FileSystem& files, const QuarnMesh& mesh, const QString& file);

  const FieldDescription& description() const { return description_; }
  /// The parameters of the field itself.
  const HxParamBundle& parameters() const;
  const FieldDataReader& data() const { return *data_; }

  /// Unpacks chunks from number `first` on, at most fielddata::chunksAtOnce, to `out`; in parallel. Returns what is
  /// wrong with those that are damaged, in their order.
  std::vector<std::string> readChunks(std::uint64_t first, std::byte* out) const;

  /// What the files hold, in a line.
  std::string summary() const;

  /// Names of data files beside it that are named after the file and not used by it; empty for none.
  std::string strangers() const;

private:
  std::unique_ptr<QuarnMesh> newerContent() const;

  hxvoxora::FileSystem& files_;
  const QString file_;
  const std::string path_;
  std::unique_ptr<QuarnMesh> newer_;
  const QuarnMesh* mesh_;
  FieldDescription description_;
  std::unique_ptr<FieldDataReader> data_;
};

/// Throws McException unless the tree holds parameters that a field can have.
void requireSoundParameters(const QuarnMesh& mesh, const QString& file);

}  // namespace quarn::detail
