#include "quarn/kernel/io/HxFileTypes.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxFileHelpers.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/objects/HxObjectPool.h"

namespace {

const QString parameterFileSuffix = QStringLiteral(".qm");

std::string excerpt(const QString& text) {
  return McException::excerpt(text.toStdString());
}

bool endsIn(const QString& file, const QString& suffix) {
  return file.endsWith(suffix, Qt::CaseInsensitive);
}

/// Parameter files have names of all kinds; their first line tells them.
bool beginsAsParameterFile(const QString& name) {
  QFile file(name);
  return QFileInfo(name).isFile() && file.open(QIODevice::ReadOnly) && file.read(12) == "# QuarnMesh ";
}

/// Notes what enters the pool while it lives.
class ArrivalRecorder : public HxObjectPoolListener {
public:
  ArrivalRecorder() { HxObjectPool::instance().addListener(this); }
  ~ArrivalRecorder() override { HxObjectPool::instance().removeListener(this); }

  void objectAdded(HxObject* object) override { objects_.push_back(object); }
  void objectAboutToBeRemoved(HxObject* object) override { std::erase(objects_, object); }

  QStringList names() const {
    QStringList names;
    for (const HxObject* object : objects_) names.append(object->getName());
    return names;
  }
  /// Gives a single arrival the name that the user asked for; readers of parameter files know nothing of it. `unique`
  /// is what became of that name in the pool.
  void rename(const QString& name, const QString& unique) {
    if (name.isEmpty() || objects_.size() != 1 || objects_.front()->getName() == unique) return;
    HxObjectPool::instance().rename(objects_.front(), name);
    objects_.front()->setLabel(name);
  }
  void noteOptions(const HxLoadOptions& options) {
    auto* const data = objects_.size() == 1 ? dynamic_cast<HxData*>(objects_.front()) : nullptr;
    if (!data || data->getLoadCmd().isEmpty()) return;
    HxLoadOptions noted = options;
    for (QString* const file : {&noted.labels, &noted.colors})
      if (!file->isEmpty()) *file = QFileInfo(*file).absoluteFilePath();
    data->setLoadOptions(noted);
  }
  /// Takes everything out of the pool again, the newest first.
  void undo() {
    while (!objects_.empty()) HxObjectPool::instance().remove(objects_.back());
  }

private:
  std::vector<HxObject*> objects_;
};

/// The saver that a name without one of their suffixes leaves no choice about: the only one there is, or the only one
/// of parameter files for the name of such a file. Null when there are more.
const HxSaverEntry* onlySaverFor(const QString& file, const std::vector<HxSaverEntry>& savers) {
  const auto isMeant = [&](const HxSaverEntry& saver) {
    return savers.size() == 1 || (endsIn(file, parameterFileSuffix) && endsIn(saver.suffix, parameterFileSuffix));
  };
  if (std::ranges::count_if(savers, isMeant) != 1) return nullptr;
  return &*std::ranges::find_if(savers, isMeant);
}

}  // namespace

HxFileTypes& HxFileTypes::instance() {
  static HxFileTypes types;
  return types;
}

void HxFileTypes::registerReader(const QString& label, const QStringList& suffixes, HxFileReader reader) {
  requireFreeSuffixes(label, suffixes);
  readers_.push_back({label, suffixes, std::move(reader), nullptr});
}

void HxFileTypes::registerFolderReader(const QString& label, HxFileReader reader) {
  if (folderReader_.read) throw McException("file type \"" + excerpt(label) + "\": folders have a reader already");
  folderReader_ = {label, {}, std::move(reader), nullptr};
}

void HxFileTypes::registerFolderIndex(const QString& suffix) {
  folderIndexes_.append(suffix);
}

void HxFileTypes::registerNetworkLoader(const QString& label, const QString& suffix, HxNetworkLoader loader) {
  requireFreeSuffixes(label, {suffix});
  readers_.push_back({label, {suffix}, nullptr, std::move(loader)});
}

void HxFileTypes::requireFreeSuffixes(const QString& label, const QStringList& suffixes) const {
  for (const QString& suffix : suffixes)
    if (this->suffixes().contains(suffix, Qt::CaseInsensitive))
      throw McException("file type \"" + excerpt(label) + "\": " + excerpt(suffix) + " files have a reader already");
}

void HxFileTypes::unregisterReader(const QString& label) {
  for (const ReaderEntry& entry : readers_)
    if (entry.label == label)
      for (const QString& suffix : entry.suffixes) folderIndexes_.removeAll(suffix);
  std::erase_if(readers_, [&](const ReaderEntry& entry) { return entry.label == label; });
  if (folderReader_.label == label) folderReader_ = {};
}

void HxFileTypes::registerUnreadFiles(const QString& suffix, std::function<QString(const QString& file)> why) {
  unread_.push_back({suffix, std::move(why)});
}

void HxFileTypes::registerQuarnMeshReader(const QString& contentType, const QString& suffix, HxQuarnMeshReader reader,
                                          HxQuarnMeshVerifier verifier) {
  for (const MeshEntry& entry : meshReaders_)
    if (entry.contentType == contentType)
      throw McException("content type \"" + excerpt(contentType) + "\" has a reader already");
  meshReaders_.push_back({contentType, suffix, std::move(reader), std::move(verifier)});
}

void HxFileTypes::unregisterQuarnMeshReader(const QString& contentType) {
  std::erase_if(meshReaders_, [&](const MeshEntry& entry) { return entry.contentType == contentType; });
}

void HxFileTypes::registerSaver(const QString& className, const QString& format, const QString& suffix,
                                HxFileSaver saver) {
  for (const HxSaverEntry& entry : savers_)
    if (entry.className == className && entry.format == format)
      throw McException("class " + excerpt(className) + " can be saved as \"" + excerpt(format) + "\" already");
  savers_.push_back({className, format, suffix, std::move(saver)});
}

void HxFileTypes::unregisterSaver(const QString& className, const QString& format) {
  std::erase_if(savers_, [&](const HxSaverEntry& e) { return e.className == className && e.format == format; });
}

QStringList HxFileTypes::load(const QString& file, const HxLoadOptions& options) {
  if (const QString index = folderIndex(file); !index.isEmpty()) return load(index, options);
  const bool isFolder = folderReader_.read && QFileInfo(file).isDir();
  if (!isFolder) HxFileHelpers::requireReadable(file);
  if (const ReaderEntry* entry = findReader(file); !isFolder && entry && entry->loadNetwork) {
    if (!options.name.isEmpty() || !options.toWords().isEmpty())
      throw McException(excerpt(file) + ": a network takes no options");
    return HxNetworkLoader(entry->loadNetwork)(file);
  }
  const QString unique = HxObjectPool::instance().uniqueName(options.name);
  const HxFileReader read = isFolder ? folderReader_.read : readerFor(file);
  const HxMessage::Mark before = HxMessage::mark();
  ArrivalRecorder arrivals;
  try {
    if (read(file, options)) {
      arrivals.rename(options.name, unique);
      arrivals.noteOptions(options);
      if (!options.name.isEmpty() && unique != options.name)
        HxMessage::printf("%s is not free as a name; what was loaded is %s.", excerpt(options.name).c_str(),
                          excerpt(unique).c_str());
      return arrivals.names();
    }
  } catch (...) {
    arrivals.undo();
    throw;
  }
  arrivals.undo();
  const std::optional<std::string> said = HxMessage::newestSince(before);
  throw McException(excerpt(file) + ": cannot be loaded" + (said ? ": " + *said : ""));
}

/// The file that stands for a folder; empty when there is none.
QString HxFileTypes::folderIndex(const QString& folder) const {
  if (!QFileInfo(folder).isDir()) return {};
  const QDir directory(folder);
  QStringList found;
  for (const QString& name : directory.entryList(QDir::Files | QDir::Hidden, QDir::Name))
    if (std::ranges::any_of(folderIndexes_, [&](const QString& suffix) { return endsIn(name, suffix); }))
      found.append(name);
  for (const QString& suffix : folderIndexes_)
    if (const QString own = directory.dirName() + suffix; found.contains(own)) found = QStringList(own);
  if (found.size() > 1)
    throw McException(excerpt(folder) + ": " + excerpt(found[0]) + " and " + excerpt(found[1]) +
                      " both stand for the folder; load one of them");
  return found.isEmpty() ? QString() : directory.filePath(found.front());
}

bool HxFileTypes::isParameterFile(const QString& file) const {
  return endsIn(file, parameterFileSuffix) ||
         std::ranges::any_of(meshReaders_, [&](const MeshEntry& entry) { return endsIn(file, entry.suffix); }) ||
         beginsAsParameterFile(file);
}

/// The one with the longest suffix that the name ends in.
const HxFileTypes::ReaderEntry* HxFileTypes::findReader(const QString& file) const {
  const ReaderEntry* best = nullptr;
  qsizetype bestLength = 0;
  for (const ReaderEntry& entry : readers_)
    for (const QString& suffix : entry.suffixes)
      if (endsIn(file, suffix) && suffix.size() > bestLength) {
        best = &entry;
        bestLength = suffix.size();
      }
  return best;
}

HxFileReader HxFileTypes::readerFor(const QString& file) {
  if (const ReaderEntry* entry = findReader(file)) return entry->read;
  if (isParameterFile(file)) {
    return [this](const QString& name, const HxLoadOptions& options) {
      if (!options.toWords().isEmpty())
        throw McException(excerpt(name) + ": -labels, -colors, -kind and -values are for images");
      return readQuarnMesh(name);
    };
  }
  for (const UnreadEntry& entry : unread_)
    if (endsIn(file, entry.suffix)) throw McException(excerpt(file) + ": " + entry.why(file).toStdString());
  throw McException(excerpt(file) +
                    ": unknown type of file; known endings: " + suffixes().join(QStringLiteral(", ")).toStdString());
}

int HxFileTypes::readQuarnMesh(const QString& file) {
  const std::unique_ptr<QuarnMesh> mesh = QuarnMesh::read(file);
  return HxQuarnMeshReader(entryFor(*mesh, file).read)(mesh.get(), file.toUtf8().constData());
}

const HxFileTypes::MeshEntry& HxFileTypes::entryFor(const QuarnMesh& mesh, const QString& file) const {
  QString contentType;
  if (!mesh.parameters.findString("ContentType", contentType))
    throw McException(excerpt(file) + ": the text \"ContentType\" is missing");
  for (const MeshEntry& entry : meshReaders_)
    if (entry.contentType == contentType) return entry;
  throw McException(excerpt(file) + ": \"ContentType\": nothing loaded here can read \"" + excerpt(contentType) + "\"");
}

int HxFileTypes::verify(const QString& file, const HxVerificationReport& report) {
  int problems = 0;
  const auto count = [&](const QString& finding, bool isSound) {
    if (!isSound) ++problems;
    report(finding, isSound);
  };
  try {
    HxFileHelpers::requireReadable(file);
    if (!isParameterFile(file)) throw McException(excerpt(file) + ": only parameter files can be checked");
    const std::unique_ptr<QuarnMesh> mesh = QuarnMesh::read(file);
    const HxQuarnMeshVerifier verifier = entryFor(*mesh, file).verify;
    if (!verifier) throw McException(excerpt(file) + ": files of this content cannot be checked");
    verifier(mesh.get(), file.toUtf8().constData(), count);
  } catch (const McException& failure) {
    count(QString::fromUtf8(failure.what()), false);
  }
  return problems;
}

QStringList HxFileTypes::suffixes() const {
  QStringList all;
  for (const ReaderEntry& entry : readers_) all += entry.suffixes;
  for (const MeshEntry& entry : meshReaders_) all += entry.suffix;
  all.removeDuplicates();
  all.sort();
  return all;
}

std::vector<HxSaverEntry> HxFileTypes::saversFor(const HxData& data) const {
  std::vector<HxSaverEntry> fitting;
  for (McType type = data.getTypeId(); !type.isBad(); type = type.getParent())
    for (const HxSaverEntry& entry : savers_)
      if (entry.className.toStdString() == type.getName()) fitting.push_back(entry);
  return fitting;
}

void HxFileTypes::save(HxData* data, const QString& format, const QString& file) {
  const HxSaverEntry saver = chooseSaver(*data, format, file);
  const bool isParameterFile = endsIn(saver.suffix, parameterFileSuffix);
  const ReaderEntry* const reader = findReader(saver.suffix);
  if (isParameterFile ? !endsIn(file, parameterFileSuffix) : reader && findReader(file) != reader)
    throw McException(excerpt(file) + ": the name must end in " + saver.suffix.toStdString() +
                      ", or the file could not be loaded again");
  const auto isOfAnotherKind = [&] {
    if (!beginsAsParameterFile(file)) return QFileInfo(file).isFile() && findReader(file) && findReader(file) != reader;
    try {
      return entryFor(*QuarnMesh::read(file), file).suffix != saver.suffix;
    } catch (const McException&) {
      return !endsIn(file, saver.suffix);
    }
  };
  if (isOfAnotherKind())
    throw McException(excerpt(file) + ": is there and holds something of another kind; remove it first, or take " +
                      "another name");
  const HxMessage::Mark before = HxMessage::mark();
  if (saver.save(data, file.toUtf8().constData())) return;
  const std::optional<std::string> said = HxMessage::newestSince(before);
  throw McException(excerpt(data->getLabel()) + ": cannot be saved as " + excerpt(file) + (said ? ": " + *said : ""));
}

HxSaverEntry HxFileTypes::chooseSaver(const HxData& data, const QString& format, const QString& file) const {
  const std::vector<HxSaverEntry> savers = saversFor(data);
  QStringList formats;
  for (const HxSaverEntry& saver : savers) {
    if (format.isEmpty() ? endsIn(file, saver.suffix) : saver.format.compare(format, Qt::CaseInsensitive) == 0)
      return saver;
    formats.append(saver.format);
  }
  if (const HxSaverEntry* only = format.isEmpty() ? onlySaverFor(file, savers) : nullptr) return *only;
  const std::string known = formats.isEmpty() ? "none" : formats.join(QStringLiteral(", ")).toStdString();
  const std::string wanted = format.isEmpty() ? "no format fits the file name " + excerpt(file)
                                              : "there is no format \"" + excerpt(format) + "\"";
  throw McException(excerpt(data.getLabel()) + ": " + wanted + "; formats: " + known);
}
