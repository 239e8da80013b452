#pragma once

#include <QString>

#include "quarn/base/McHandle.h"
#include "quarn/kernel/export.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/io/HxFileTypes.h"

/// The system's own files of scalar and label fields (".field.qm" and a data file beside it): voxels, place in the
/// world, parameters and materials come back bit for bit. docs/format/field.md describes them.
///
/// All functions show their progress and end with McException when the user stops them, or when anything is wrong. For
/// the user-interface thread. Files are touched through hxvoxora::FileSystem::current().
class QUARN_KERNEL_API HxFieldFile {
public:
  static QString suffix() { return QStringLiteral(".field.qm"); }

  /// Saves a field, to which a handle must exist; a field of a derived class is saved as what it is of
  /// HxUniformLabelField3 or HxUniformScalarField3. `file` is the old one, whole, until it is the new one, whole. The
  /// field then counts as saved and as loaded from there. Throws McException, and leaves field and files as they were,
  /// for a field that would not read back, and for all else that docs/format/field.md tells.
  static void save(HxUniformScalarField3& field, const QString& file);

  /// Reads a file that save() made. The field is not registered. Beside its voxels it takes some MiB.
  static McHandle<HxUniformScalarField3> read(const QString& file);
  /// The same for a file whose parameters have been read.
  static McHandle<HxUniformScalarField3> read(const QuarnMesh& mesh, const QString& file);

  /// Looks whether the file and its data file can be opened and belong together; reads no voxels. Throws McException
  /// naming the one at fault.
  static void requireFiles(const QString& file);

  /// Checks a file whose parameters have been read, to the last byte of its voxels, without loading it.
  static void verify(const QuarnMesh& mesh, const QString& file, const HxVerificationReport& report);

  /// Makes the files known to HxFileTypes.
  static void registerTypes();
};
