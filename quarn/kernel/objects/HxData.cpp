#include "quarn/kernel/objects/HxData.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>
#include <utility>
#include <vector>

#include "quarn/base/McBox3f.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/objects/HxEditor.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/script/scriptLine.h"

MC_ABSTRACT_CLASS_IMPL(HxData, HxObject)

namespace {

std::uint32_t nextTouchTime() {
  // The highest value means "no object" to those who remember touch times.
  constexpr std::uint32_t kReserved = 0xFFFFFFFFu;
  static std::atomic<std::uint32_t> counter{0};
  std::uint32_t time = ++counter;
  while (time == kReserved) time = ++counter;
  return time;
}

/// The file with the links in its folder resolved; as it is when the folder is not there.
QString resolved(const QString& file) {
  const QFileInfo info(file);
  const QString folder = QFileInfo(info.absolutePath()).canonicalFilePath();
  return folder.isEmpty() ? file : QDir(folder).filePath(info.fileName());
}

/// `file` as seen from `directory` when it lies below it, also by way of links.
QString fileSeenFrom(const char* directory, const QString& file) {
  if (!directory || !*directory) return file;
  const QString folder = QString::fromLocal8Bit(directory);
  for (const QString& from : {folder, QFileInfo(folder).canonicalFilePath()}) {
    for (const QString& to : {file, resolved(file)}) {
      if (from.isEmpty() || QFileInfo(to).isRelative()) continue;
      const QString relative = QDir(from).relativeFilePath(to);
      if (relative != ".." && !relative.startsWith("../")) return relative;
    }
  }
  return file;
}

}  // namespace

HxData::HxData() : baseConnection(this, "master", "Master", HxObject::getClassTypeId()), touchTime_(nextTouchTime()) {
  baseConnection.hide();
}

HxData::~HxData() {
  if (editor_) editor_->data_ = nullptr;
}

void HxData::registerData(HxData* data, const QString& name) {
  const QString fileName = QFileInfo(name).fileName();
  HxObjectPool::instance().add(data, fileName.isEmpty() ? name : fileName);
}

void HxData::touch(unsigned int flags) {
  mark(flags);
  const std::uint32_t time = nextTouchTime();
  // Of several threads the one with the latest time wins, also across the end of the counter.
  const auto isLater = [time](std::uint32_t former) { return static_cast<std::int32_t>(time - former) > 0; };
  std::uint32_t former = touchTime_.load(std::memory_order_acquire);
  while (isLater(former) && !touchTime_.compare_exchange_weak(former, time, std::memory_order_acq_rel)) {
  }
}

void HxData::mark(unsigned int flags) {
  HxObject::touch(flags);
  uncounted_.fetch_or(flags, std::memory_order_acq_rel);
  sinceMade_.fetch_or(flags, std::memory_order_acq_rel);
}

void HxData::setModified(unsigned int flags) {
  modified_ = flags != 0;
  if (asksOnly_) return;
  sinceSaved_ |= flags;
  if (flags != 0) return;
  uncounted_.store(0, std::memory_order_release);
  sinceSaved_ = 0;
}

void HxData::askModified(unsigned int flags) {
  asksOnly_ = true;
  setModified(flags);
  asksOnly_ = false;
}

bool HxData::isModified() {
  countTouches();
  return modified_;
}

void HxData::countTouches() {
  const unsigned int flags = uncounted_.exchange(0, std::memory_order_acq_rel);
  if (flags == 0) return;
  sinceSaved_ |= flags;
  askModified(sinceSaved_);
}

bool HxData::isChangedSinceMade() {
  const unsigned int flags = sinceMade_.load(std::memory_order_acquire);
  if (flags == 0) return false;
  const bool former = modified_;
  askModified(flags);
  return std::exchange(modified_, former);
}

void HxData::evaluated() {
  countTouches();
}

void HxData::getBoundingBox(float box[6]) {
  const McBox3f empty;
  std::copy_n(empty.data(), 6, box);
}

void HxData::setEditor(HxEditor* editor) {
  if (editor == editor_) return;
  const McHandle<HxEditor> former = editor_;
  if (former) former->data_ = nullptr;
  if (editor && editor->data_) editor->data_->setEditor(nullptr);
  editor_ = editor;
  if (editor) editor->data_ = this;
  onEditorChanged();
}

void HxData::setLoadCmd(const QString& fileName) {
  loadFile_ = fileName;
  loadOptions_ = HxLoadOptions();
}

void HxData::requireCompanionFiles() const {
  const auto require = [](const QString& file, const char* content) {
    if (file.isEmpty() || QFileInfo::exists(file)) return;
    throw McException(McException::excerpt(file.toStdString()) + ", with the " + content +
                      " of its labels, is not there");
  };
  require(loadOptions_.labels, "names");
  require(loadOptions_.colors, "colours");
}

HxData::Origin HxData::origin() {
  if (!loadFile_.isEmpty()) return Origin::File;
  return makingScript().isEmpty() ? Origin::Class : Origin::Module;
}

/// Empty when there is no module that can make this.
QString HxData::makingScript() {
  QString script;
  HxObject* master = baseConnection.source();
  const bool isMade = master && master->isInPool() && master->canCreateData(this, script);
  return isMade ? script.trimmed() : QString();
}

std::string HxData::loadingLine(const char* directory) const {
  std::vector<std::string> words{"load", fileSeenFrom(directory, loadFile_).toStdString(), "-as",
                                 getName().toStdString()};
  HxLoadOptions options = loadOptions_;
  for (QString* const file : {&options.labels, &options.colors})
    if (!file->isEmpty()) *file = fileSeenFrom(directory, *file);
  for (const QString& word : options.toWords()) words.push_back(word.toStdString());
  return scriptLine(words) + "\n";
}

QString HxData::creationScript(const char* directory) {
  const std::string name = getName().toStdString();
  if (!loadFile_.isEmpty()) return QString::fromStdString(loadingLine(directory));
  const QString script = makingScript();
  // The module chooses a name for what it makes; everything else in the network relies on the present one.
  if (!script.isEmpty()) return QString::fromStdString(scriptLine({"nameResult", name, script.toStdString()}) + "\n");
  return QString::fromStdString(scriptLine({"create", getTypeId().getName(), name}) + "\n");
}

void HxData::saveCreation(std::FILE* file, const char* directory, unsigned int) {
  if (file) std::fputs(creationScript(directory).toUtf8().constData(), file);
}
