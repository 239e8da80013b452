#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <vector>

#include "quarn/kernel/export.h"

/// The description of a package: the file NAME.json beside its library libNAME.so.
struct QUARN_KERNEL_API HxPackageManifest {
  struct InterfaceFactory {
    QString className;  ///< host class whose objects get the interfaces
    QString factory;    ///< registered factory type
  };
  struct SaveFormat {
    QString format;
    QString className;
    QString function;  ///< C symbol: int(HxData*, const char*)
  };
  struct FileType {
    QString label;
    QString suffix;       ///< with its dot
    QString contentType;  ///< of the parameter file; empty when the type is only written
    QString read;         ///< C symbol: int(QuarnMesh*, const char*); empty when the type is only written
    QString verify;       ///< C symbol: void(QuarnMesh*, const char*, const HxVerificationReport&); may be empty
    std::vector<SaveFormat> save;
  };

  QString name;  ///< letters, digits and underscores
  QString version;
  QString abi;
  QStringList requiredPackages;  ///< "requires"
  QStringList classes;
  std::vector<InterfaceFactory> interfaceFactories;
  std::vector<FileType> fileTypes;

  QString file;    ///< the manifest's own path
  QString binary;  ///< absolute path of the library beside it

  /// Reads a manifest. Throws McException with every problem found, one per line: file, field, value.
  static HxPackageManifest fromFile(const QString& file);
  static HxPackageManifest parse(const QByteArray& json, const QString& file);
};

namespace quarn {
/// What a package's "abi" must be equal to.
QUARN_KERNEL_API QString packageAbi();
}  // namespace quarn
