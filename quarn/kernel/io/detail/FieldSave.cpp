#include "quarn/kernel/io/detail/FieldSave.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <exception>
#include <set>
#include <span>
#include <utility>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/kernel/io/detail/FieldDescription.h"
#include "quarn/kernel/io/detail/fieldDataLayout.h"
#include "quarn/kernel/io/detail/formerRights.h"
#include "quarn/voxora/files/FileError.h"
#include "quarn/voxora/files/fileNames.h"
#include "quarn/voxora/files/fileSetParts.h"
#include "quarn/voxora/files/readWhole.h"

namespace quarn::detail {

using hxvoxora::FileKind;
using hxvoxora::FileLock;
using hxvoxora::FileSystem;

namespace {

QString toQt(const std::string& path) {
  return QFile::decodeName(path.c_str());
}

QFileInfo infoOf(const std::string& path) {
  return QFileInfo(toQt(path));
}

}  // namespace

std::string readParameterText(FileSystem& files, const std::string& path) {
  return hxvoxora::readWhole(files, path, std::uint64_t{QuarnMesh::MAX_BYTES}, FileSystem::Links::follow);
}

FieldSave::FieldSave(FileSystem& files, const std::string& path)
    : files_(files),
      path_(path),
      folder_(hxvoxora::folderOf(path)),
      folderPrefix_(hxvoxora::folderPrefix(path)),
      names_(path),
      generation_(hxvoxora::drawGeneration()),
      access_(accessBeside(toQt(path))) {
  requireReplaceable();
  noteFormer();
  removeAbandoned();
}

FieldSave::~FieldSave() {
  data_.reset();
  removeMade();
}

void FieldSave::requireReplaceable() {
  const std::string name = hxvoxora::bareName(path_);
  if (!hxvoxora::isPlainName(name)) refuse("is not the name of a file");
  if (name.size() > maxFieldNameBytes) refuse("its name has more than " + std::to_string(maxFieldNameBytes) + " bytes");
  const FileKind kind = files_.kind(path_);
  if (kind != FileKind::missing && kind != FileKind::regular) refuse("exists and is not a regular file");
  if (infoOf(path_).exists() && !infoOf(path_).isWritable()) refuse("the file is write protected");
  if (!files_.isWritable(folder_)) refuse("its folder is not one in which files can be made");
}

/// Only names that a save to this path makes: a parameter file from elsewhere may mention any.
void FieldSave::noteFormer() {
  if (files_.kind(path_) == FileKind::missing) return;
  try {
    const QString name = toQt(path_);
    const auto mesh = QuarnMesh::parse(QByteArray::fromStdString(readParameterText(files_, path_)), name);
    const FieldDescription former = FieldDescription::parse(mesh->parameters);
    if (!names_.generationOfData(former.dataFile)) return;
    for (const std::string& data : {former.dataFile, former.replaces})
      if (names_.generationOfData(data) && !std::ranges::count(former_, data)) former_.push_back(data);
  } catch (const hxvoxora::FileError&) {
    throw;
  } catch (const McException&) {
    // What cannot be read tells of no data file, and may be replaced all the same.
  }
}

void FieldSave::removeAbandoned() {
  try {
    std::set<std::uint64_t> generations;
    for (const std::string& name : files_.list(folder_))
      if (const auto generation = names_.generationOfNew(name)) generations.insert(*generation);
    for (const std::uint64_t generation : generations) removeAbandoned(generation);
  } catch (const McException&) {
    // It takes room and does no other harm; the next save tries again.
  }
}

/// The new parameter file goes last: it shows that the data file of its generation belongs to nobody.
void FieldSave::removeAbandoned(std::uint64_t generation) {
  const std::string data[] = {pathOf(names_.newDataFile(generation)), pathOf(names_.dataFile(generation))};
  // A save renames its data file from the first name to the second, so that one missed there is met here.
  std::vector<std::unique_ptr<FileLock>> locks;
  for (const std::string& path : data) {
    if (files_.kind(path) == FileKind::missing) continue;
    locks.push_back(files_.tryLock(path));
    if (!locks.back()) return;
  }
  const std::string parameters = pathOf(names_.newParameterFile(generation));
  const bool isUncommitted = files_.kind(parameters) != FileKind::missing;
  // A copy of the folder made during a save may hold the new parameter file under both its names.
  if (isUncommitted && !isMentioned(names_.dataFile(generation), names_.newParameterFile(generation)))
    files_.remove(data[1]);
  files_.remove(data[0]);
  files_.remove(parameters);
}

hxvoxora::OutputFile& FieldSave::createData() {
  const std::string path = pathOf(names_.newDataFile(generation_));
  data_ = files_.createExclusively(path, access_);
  made_.push_back(path);
  takeRights(toQt(path_), toQt(path));
  lock_ = lockNewData();
  return *data_;
}

/// Null where files cannot be locked; nobody removes any there either.
std::unique_ptr<FileLock> FieldSave::lockNewData() const {
  std::unique_ptr<FileLock> lock;
  try {
    lock = files_.tryLock(made_.front());
  } catch (const McException&) {
    return nullptr;
  }
  if (!lock) refuse("another save has just locked its new data file; save again");
  return lock;
}

void FieldSave::commit(const std::string& text) {
  data_->sync();
  data_->close();
  data_.reset();
  writeParameters(text);
  const std::string data = pathOf(dataFile());
  files_.rename(made_.front(), data);
  made_.front() = data;
  files_.syncDirectory(folder_);
  // Another save may have come first.
  noteFormer();
  files_.rename(made_.back(), path_);
  made_.clear();
  try {
    files_.syncDirectory(folder_);
  } catch (const McException& failure) {
    refuse(std::string("was saved, but its folder cannot be brought to stable storage: ") + failure.what());
  }
  removeFormer();
}

void FieldSave::writeParameters(const std::string& text) {
  const std::string path = pathOf(names_.newParameterFile(generation_));
  const auto file = files_.createExclusively(path, access_);
  made_.push_back(path);
  takeRights(toQt(path_), toQt(path));
  file->append(std::as_bytes(std::span(text)));
  file->sync();
  file->close();
}

void FieldSave::removeFormer() noexcept {
  for (const std::string& name : former_) {
    try {
      if (files_.kind(pathOf(name)) != FileKind::regular) continue;
      if (!holdsGeneration(name, names_.generationOfData(name).value_or(0)) ||
          isMentioned(name, hxvoxora::bareName(path_)))
        continue;
      files_.remove(pathOf(name));
    } catch (const std::exception& failure) {
      HxMessage::printf("A former data file was left: %s", failure.what());
    }
  }
}

bool FieldSave::holdsGeneration(const std::string& name, std::uint64_t generation) {
  fielddata::Prelude found{};
  files_.openForReading(pathOf(name), FileSystem::Links::refuse)->readAt(0, found);
  return found == fielddata::makePrelude(generation);
}

/// Whether a parameter file, but for one, needs this data file: a copy for example.
bool FieldSave::isMentioned(const std::string& data, const std::string& except) {
  // As texts are written.
  std::string name;
  for (const char c : data) name += c == '"' ? std::string("\\\"") : std::string(1, c);
  for (const std::string& entry : files_.list(folder_)) {
    if (entry == except || entry.find(".qm") == std::string::npos) continue;
    const std::string path = pathOf(entry);
    if (files_.kind(path) != FileKind::regular) continue;
    if (files_.openForReading(path, FileSystem::Links::refuse)->identity().size > std::uint64_t{QuarnMesh::MAX_BYTES})
      continue;
    if (readParameterText(files_, path).find(name) != std::string::npos) return true;
  }
  return false;
}

void FieldSave::removeMade() noexcept {
  // The data file goes first, see removeAbandoned().
  for (const std::string& path : std::exchange(made_, {})) {
    try {
      files_.remove(path);
    } catch (const std::exception& failure) {
      HxMessage::printf("A temporary file was left: %s", failure.what());
    }
  }
}

void FieldSave::refuse(const std::string& what) const {
  throw McException(McException::excerpt(path_) + ": " + what);
}

}  // namespace quarn::detail
