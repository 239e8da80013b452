#include "quarn/kernel/packages/HxPackageLoader.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <algorithm>
#include <functional>
#include <sys/stat.h>

#include "quarn/base/McException.h"
#include "quarn/base/McInterface.h"
#include "quarn/base/McType.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/objects/HxInterfaceFactoryRegistry.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/packages/detail/Library.h"

namespace {

using EntryPoint = void();
using MeshReader = int(QuarnMesh*, const char*);
using MeshVerifier = void(QuarnMesh*, const char*, const HxVerificationReport&);
using Saver = int(HxData*, const char*);

std::string excerpt(const QString& text) {
  return McException::excerpt(text.toStdString());
}

[[noreturn]] void failPackage(const QString& name, const std::string& why) {
  throw McException("package " + excerpt(name) + ": " + why);
}

bool isWritableByEverybody(const QString& path) {
  struct stat status {};
  return stat(QFile::encodeName(path).constData(), &status) == 0 && (status.st_mode & S_IWOTH) != 0;
}

bool isPackageName(const QString& name) {
  static const QRegularExpression pattern(QStringLiteral("\\A[A-Za-z_][A-Za-z0-9_]*\\z"));
  return pattern.match(name).hasMatch();
}

/// True when the type, or one that it is derived from, is among the classes.
bool isOneOf(McType type, const QStringList& classes) {
  for (; !type.isBad(); type = type.getParent())
    if (classes.contains(QString::fromStdString(type.getName()))) return true;
  return false;
}

/// Runs a step that nobody can be told about; what it throws goes to the console.
void runGuarded(const std::function<void()>& step) {
  try {
    step();
  } catch (const std::exception& error) {
    HxMessage::printf("%s", error.what());
  }
}

/// Runs a package's entry point. What it throws may be of a type that is gone once its library is closed, so it goes on
/// as a McException.
void callInit(EntryPoint* init) {
  std::string why = "unknown failure";
  try {
    init();
    return;
  } catch (const std::exception& error) {
    why = error.what();
  } catch (...) {
  }
  throw McException(why);
}

/// An object of the pool that needs the code of one of these classes, itself or by an attached interface.
const HxObject* userOf(const QStringList& classes) {
  for (const McHandle<HxObject>& object : HxObjectPool::instance().objects()) {
    if (isOneOf(object->getTypeId(), classes)) return object;
    for (const McInterface* interface : object->interfaces())
      if (isOneOf(interface->getTypeId(), classes)) return object;
  }
  return nullptr;
}

}  // namespace

/// A loaded package: its library, and how to undo each thing that was done for it.
struct HxPackageLoader::Package {
  explicit Package(const HxPackageManifest& m) : manifest(m) {}
  /// Undoes what was done, the last first, then closes the library.
  ~Package() {
    for (auto step = undo.rbegin(); step != undo.rend(); ++step) runGuarded(*step);
  }

  void initialise();
  void declareInterfaces();
  void registerFileTypes();
  void registerSaver(const HxPackageManifest::SaveFormat& save, const QString& suffix);

  HxPackageManifest manifest;
  quarn::detail::Library opened;
  std::vector<std::function<void()>> undo;
};

void HxPackageLoader::Package::initialise() {
  const auto init = opened.function<EntryPoint>(QStringLiteral("quarnpackage_%1_init").arg(manifest.name));
  const auto finish = opened.function<EntryPoint>(QStringLiteral("quarnpackage_%1_finish").arg(manifest.name));
  // A failing initialisation may have registered some classes, so its counterpart runs in any case.
  undo.emplace_back([finish, classes = manifest.classes] {
    finish();
    for (const QString& name : classes) McType::remove(name.toStdString());
  });
  callInit(init);
  for (const QString& name : manifest.classes)
    if (McType::find(name.toStdString()).isBad())
      throw McException("class " + excerpt(name) + " of the manifest is not registered by the library");
}

void HxPackageLoader::Package::declareInterfaces() {
  HxInterfaceFactoryRegistry& registry = HxInterfaceFactoryRegistry::instance();
  for (const HxPackageManifest::InterfaceFactory& entry : manifest.interfaceFactories) {
    registry.declare(entry.className, entry.factory);
    undo.emplace_back([&registry, entry] { registry.withdraw(entry.className, entry.factory); });
  }
}

void HxPackageLoader::Package::registerFileTypes() {
  HxFileTypes& types = HxFileTypes::instance();
  for (const HxPackageManifest::FileType& type : manifest.fileTypes) {
    if (!type.read.isEmpty()) {
      const auto verifier = type.verify.isEmpty() ? nullptr : opened.function<MeshVerifier>(type.verify);
      types.registerQuarnMeshReader(type.contentType, type.suffix, opened.function<MeshReader>(type.read), verifier);
      undo.emplace_back([&types, contentType = type.contentType] { types.unregisterQuarnMeshReader(contentType); });
    }
    for (const HxPackageManifest::SaveFormat& save : type.save) registerSaver(save, type.suffix);
  }
}

void HxPackageLoader::Package::registerSaver(const HxPackageManifest::SaveFormat& save, const QString& suffix) {
  HxFileTypes& types = HxFileTypes::instance();
  types.registerSaver(save.className, save.format, suffix, opened.function<Saver>(save.function));
  undo.emplace_back([&types, save] { types.unregisterSaver(save.className, save.format); });
}

HxPackageLoader::HxPackageLoader() = default;

HxPackageLoader& HxPackageLoader::instance() {
  // Never destroyed: a package is closed by unloading it, not by the end of the process.
  static HxPackageLoader& loader = *new HxPackageLoader;
  return loader;
}

void HxPackageLoader::addPath(const QString& folder) {
  const auto refuse = [&](const char* why) { throw McException("package folder " + excerpt(folder) + ": " + why); };
  if (QDir::isRelativePath(folder)) refuse("an absolute path is expected");
  if (!QFileInfo(folder).isDir()) refuse("is not a folder");
  if (isWritableByEverybody(folder)) refuse("can be written by everybody, packages are not loaded from there");
  const QString path = QDir::cleanPath(folder);
  if (!paths_.contains(path)) paths_.append(path);
}

void HxPackageLoader::addDefaultPaths() {
  const QDir program(QCoreApplication::applicationDirPath());
  for (const char* const relative : {"../packages", "../lib/quarn/packages"}) {
    const QString folder = QDir::cleanPath(program.absoluteFilePath(QString::fromLatin1(relative)));
    if (QFileInfo(folder).isDir()) addPath(folder);
  }
}

QStringList HxPackageLoader::available() const {
  QStringList names;
  for (const QString& folder : paths_)
    for (const QFileInfo& file : QDir(folder).entryInfoList({QStringLiteral("*.json")}, QDir::Files))
      if (isPackageName(file.completeBaseName())) names.append(file.completeBaseName());
  names.removeDuplicates();
  names.sort();
  return names;
}

QString HxPackageLoader::manifestFileOf(const QString& name) const {
  if (!isPackageName(name)) failPackage(name, "this is not a name of a package");
  for (const QString& folder : paths_) {
    const QString file = QDir(folder).absoluteFilePath(name + QStringLiteral(".json"));
    if (QFileInfo::exists(file)) return file;
  }
  failPackage(name, "it is in none of the package folders: " + paths_.join(QStringLiteral(", ")).toStdString());
}

void HxPackageLoader::load(const QString& name) {
  const std::size_t before = packages_.size();
  QStringList chain;
  try {
    loadRequired(name, chain);
  } catch (...) {
    while (packages_.size() > before) packages_.pop_back();
    throw;
  }
}

void HxPackageLoader::loadRequired(const QString& name, QStringList& chain) {
  if (isLoaded(name)) return;
  if (chain.contains(name))
    failPackage(name, "it requires itself: " + (chain << name).join(QStringLiteral(" -> ")).toStdString());
  const HxPackageManifest manifest = HxPackageManifest::fromFile(manifestFileOf(name));
  chain.append(name);
  for (const QString& required : manifest.requiredPackages) loadRequired(required, chain);
  chain.removeLast();
  try {
    open(manifest);
  } catch (const std::exception& error) {
    failPackage(name, error.what());
  }
}

void HxPackageLoader::open(const HxPackageManifest& manifest) {
  if (manifest.abi != quarn::packageAbi())
    throw McException("it was built for \"" + excerpt(manifest.abi) + "\", this program is \"" +
                      quarn::packageAbi().toStdString() + "\"");
  if (isWritableByEverybody(manifest.binary))
    throw McException(excerpt(manifest.binary) + ": can be written by everybody, it is not opened");
  auto package = std::make_unique<Package>(manifest);
  package->opened = quarn::detail::Library(manifest.binary);
  package->initialise();
  package->declareInterfaces();
  package->registerFileTypes();
  packages_.push_back(std::move(package));
}

QStringList HxPackageLoader::loadAll() {
  QStringList problems;
  for (const QString& name : available()) {
    try {
      load(name);
    } catch (const std::exception& error) {
      problems.append(QString::fromUtf8(error.what()));
    }
  }
  return problems;
}

HxPackageLoader::Package* HxPackageLoader::find(const QString& name) const {
  const auto found =
      std::ranges::find_if(packages_, [&](const auto& package) { return package->manifest.name == name; });
  return found == packages_.end() ? nullptr : found->get();
}

bool HxPackageLoader::isLoaded(const QString& name) const {
  return find(name) != nullptr;
}

QStringList HxPackageLoader::loaded() const {
  QStringList names;
  for (const auto& package : packages_) names.append(package->manifest.name);
  return names;
}

void HxPackageLoader::unload(const QString& name) {
  Package* const package = find(name);
  if (!package) failPackage(name, "it is not loaded");
  for (const auto& other : packages_)
    if (other->manifest.requiredPackages.contains(name))
      failPackage(name, "it is required by " + excerpt(other->manifest.name));
  if (const HxObject* user = userOf(package->manifest.classes))
    failPackage(name, "it is in use by object \"" + excerpt(user->getName()) + "\"");
  std::erase_if(packages_, [&](const auto& candidate) { return candidate.get() == package; });
}

void HxPackageLoader::unloadAll() {
  while (!packages_.empty()) unload(packages_.back()->manifest.name);
}
