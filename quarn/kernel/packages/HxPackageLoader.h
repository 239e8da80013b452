#pragma once

#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

#include "quarn/kernel/export.h"
#include "quarn/kernel/packages/HxPackageManifest.h"

/// Finds, opens and closes packages. For the user-interface thread.
///
/// Packages are looked for in a list of folders only, never in the working folder. Each folder must be absolute and
/// must not be writable by everybody. A package is judged by its manifest before its library is opened.
class QUARN_KERNEL_API HxPackageLoader {
public:
  static HxPackageLoader& instance();

  /// Adds a folder to look in, after those added before. Throws McException when it is not absolute, not a folder, or
  /// writable by everybody.
  void addPath(const QString& folder);
  /// Adds the folders that come with the program, as far as they exist: packages and lib/quarn/packages, both beside
  /// the folder of the program.
  void addDefaultPaths();
  QStringList paths() const { return paths_; }

  /// Names of the packages that the folders hold, sorted.
  QStringList available() const;

  /// Loads a package and what it requires, the required ones first. Harmless when it is loaded. Throws McException with
  /// the package's name and the reason; what this call had loaded for it is unloaded again.
  void load(const QString& name);
  /// Loads every available package; texts of what failed.
  QStringList loadAll();

  bool isLoaded(const QString& name) const;
  /// Names of the loaded packages in the order of loading.
  QStringList loaded() const;

  /// Unloads a package. Throws McException when another loaded package requires it or an object of one of its classes
  /// lives; nothing is changed then.
  void unload(const QString& name);
  /// Unloads everything, last loaded first. Throws as unload(); what stands before the failing one stays loaded.
  void unloadAll();

  HxPackageLoader(const HxPackageLoader&) = delete;
  HxPackageLoader& operator=(const HxPackageLoader&) = delete;

private:
  struct Package;
  HxPackageLoader();
  ~HxPackageLoader() = delete;
  Package* find(const QString& name) const;
  QString manifestFileOf(const QString& name) const;
  void loadRequired(const QString& name, QStringList& chain);
  void open(const HxPackageManifest& manifest);

  QStringList paths_;
  std::vector<std::unique_ptr<Package>> packages_;  ///< in the order of loading
};
