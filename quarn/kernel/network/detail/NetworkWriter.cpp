#include "quarn/kernel/network/detail/NetworkWriter.h"

#include <QFileInfo>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/fields/HxStandardColormaps.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/io/HxFieldFile.h"
#include "quarn/kernel/network/detail/sourcesFirst.h"
#include "quarn/kernel/objects/HxCompModule.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/ports/HxPortColormap.h"
#include "quarn/kernel/ports/HxPortObjects.h"
#include "quarn/kernel/script/detail/TclText.h"

namespace quarn::detail {
namespace {

QString classOf(const HxObject& object) {
  return QString::fromStdString(object.getTypeId().getName());
}

QString excerpt(const QString& text) {
  return QString::fromStdString(McException::excerpt(text.toStdString()));
}

/// The workbench's own files of fields have their voxels in a data file.
bool isFieldFile(const HxData& data) {
  return dynamic_cast<const HxUniformScalarField3*>(&data) && data.getLoadCmd().endsWith(".qm", Qt::CaseInsensitive);
}

/// What an object writes for its creation.
QString creationLines(HxData& data, const QByteArray& folder) {
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* file = open_memstream(&text, &size);
  if (!file) throw McException(data.getName().toStdString() + ": there is no memory to write it into a network");
  try {
    data.saveCreation(file, folder.constData(), 0);
  } catch (...) {
    std::fclose(file);
    std::free(text);
    throw;
  }
  std::fclose(file);
  const QString lines = QString::fromUtf8(text, static_cast<qsizetype>(size));
  std::free(text);
  return lines;
}

}  // namespace

QString NetworkWriter::write() {
  writeComment("Saved by " + HxApplication::instance()->skin()->getSaveInfo() + ".");
  const auto objects = sourcesFirst();
  for (HxObject* object : objects) write(*object);
  for (HxObject* object : objects) writeEntries(*object);
  return text_;
}

NetworkWriter::Fate NetworkWriter::fateOf(HxObject& object) const {
  if (auto* data = dynamic_cast<HxData*>(&object)) return fateOfData(*data);
  if (object.getTypeId().canCreateInstance()) return {};
  return {false, QString("no object of class %1 can be made by a script").arg(classOf(object))};
}

/// Without what was connected to its "data" a module cannot make its result again.
bool NetworkWriter::hasInput(const HxObject& module, const HxData& result) const {
  const auto* compModule = dynamic_cast<const HxCompModule*>(&module);
  if (!compModule) return true;
  const HxObject* const input = compModule->dataConnection.source();
  return input ? written_.contains(input) : !compModule->hadInput(&result);
}

/// Why the other objects that a module is connected to let it make something else than before; empty when they do not.
QString NetworkWriter::problemOfSources(const HxObject& module) const {
  for (const HxPort* port : module.ports()) {
    const auto* connection = dynamic_cast<const HxConnection*>(port);
    const HxObject* source = connection ? connection->source() : nullptr;
    if (!source || HxStandardColormaps::instance().isStandard(source)) continue;
    const QString text = written_.contains(source) ? "it was made from %1, which does not come back as it is"
                                                   : "it was made from %1, which does not come back";
    if (!written_.contains(source) || different_.contains(source))
      return text.arg(source->getName().isEmpty() ? source->describe() : source->getName());
  }
  return {};
}

NetworkWriter::Fate NetworkWriter::fateOfData(HxData& data) const {
  switch (data.origin()) {
    case HxData::Origin::File:
      return fateOfFile(data);
    case HxData::Origin::Module:
      return fateOfResult(data);
    case HxData::Origin::Class:
      break;
  }
  const auto* module = dynamic_cast<const HxCompModule*>(data.baseConnection.source());
  if (module && module->isInPool() && module->slotOf(&data))
    return {false, QString("changes since %1 made it").arg(module->getName())};
  if (data.isModified()) return {false, "is not saved in a file"};
  if (data.getTypeId().canCreateInstance()) return {};
  return {false, QString("no object of class %1 can be made by a script").arg(classOf(data))};
}

NetworkWriter::Fate NetworkWriter::fateOfFile(HxData& data) const {
  const QString file = excerpt(data.getLoadCmd());
  if (!QFileInfo::exists(data.getLoadCmd())) return {true, QString("its file %1 is not there").arg(file)};
  try {
    data.requireCompanionFiles();
    if (isFieldFile(data)) HxFieldFile::requireFiles(data.getLoadCmd());
  } catch (const McException& failure) {
    return {true, QString::fromUtf8(failure.what())};
  }
  if (data.isModified()) return {true, QString("changes since it was saved as %1").arg(file)};
  return {};
}

NetworkWriter::Fate NetworkWriter::fateOfResult(HxData& data) const {
  const HxObject* master = data.baseConnection.source();
  const QString name = master->getName();
  if (!written_.contains(master)) return {false, QString("%1, which makes it, does not come back").arg(name)};
  if (!hasInput(*master, data)) return {false, QString("%1, which makes it, has lost its input").arg(name)};
  if (data.isChangedSinceMade()) return {true, QString("changes since %1 made it").arg(name)};
  const auto* module = dynamic_cast<const HxCompModule*>(master);
  const QString change = module ? module->changedSinceMaking(&data) : QString();
  if (!change.isEmpty()) return {true, QString("%1 changed since %2 made it").arg(change, name)};
  return {true, problemOfSources(*master)};
}

void NetworkWriter::write(HxObject& object) {
  text_ += "\n";
  writeComment(QString("%1 (%2)").arg(object.getName(), classOf(object)));
  const Fate fate = fateOf(object);
  if (!fate.problem.isEmpty()) {
    problems_ += object.getName() + ": " + fate.problem;
    writeComment((fate.comesBack ? "not in this network: " : "left out: ") + fate.problem);
  }
  if (!fate.comesBack) return;

  written_.insert(&object);
  if (!fate.problem.isEmpty()) different_.insert(&object);
  auto* data = dynamic_cast<HxData*>(&object);
  const bool isMade = data && data->origin() == HxData::Origin::Module;
  writeCreation(object);
  writeLabel(object, isMade);
  // What the module has connected may not be what is wanted.
  if (isMade) writeLine({object.getName(), "disconnectAll"});
  bool hasMore = writeConnections(object, isMade);
  for (const HxPort* port : object.ports()) {
    if (object.findPort(port->getName()) == port) hasMore = writeState(object, *port) || hasMore;
  }
  if (hasMore) writeLine({object.getName(), "fire"});
}

void NetworkWriter::writeCreation(HxObject& object) {
  if (auto* data = dynamic_cast<HxData*>(&object)) {
    text_ += creationLines(*data, folder_);
  } else {
    writeLine({"create", classOf(object), object.getName()});
  }
}

/// A module may give what it makes any label; whatever else comes has none but its name.
void NetworkWriter::writeLabel(const HxObject& object, bool isMade) {
  if (isMade && !object.hasLabel()) return writeLine({object.getName(), "setLabel"});
  if (isMade || object.getLabel() != object.getName()) writeLine({object.getName(), "setLabel", object.getLabel()});
}

/// True when a command was written.
bool NetworkWriter::writeConnections(const HxObject& object, bool isMade) {
  const auto* data = dynamic_cast<const HxData*>(&object);
  bool isWritten = false;
  for (const HxPort* port : object.ports()) {
    const auto* connection = dynamic_cast<const HxConnection*>(port);
    if (!connection || object.findPort(port->getName()) != port) continue;
    if (!data || connection != &data->baseConnection) {
      isWritten = writeConnection(object, *connection) || isWritten;
    } else if (!isMade) {
      isWritten = writeMaster(*data) || isWritten;
    }
  }
  return isWritten;
}

/// The module must have what it made as its result again, or it would make a second one beside it.
bool NetworkWriter::writeMaster(const HxData& data) {
  const auto* module = dynamic_cast<const HxCompModule*>(data.baseConnection.source());
  const std::optional<int> slot = written_.contains(module) ? module->slotOf(&data) : std::nullopt;
  if (!slot) return writeConnection(data, data.baseConnection);
  QStringList words{data.getName(), "resultOf", module->getName()};
  if (*slot != 0) words += QString::number(*slot);
  writeLine(words);
  return true;
}

/// True when a command was written.
bool NetworkWriter::writeConnection(const HxObject& object, const HxConnection& connection) {
  const HxObject* source = connection.source();
  if (!source) return false;
  const auto line = [&](const QStringList& words) {
    writeLine(addressOf(object, connection) + words);
    return true;
  };
  if (written_.contains(source)) return line({"connect", source->getName()});
  if (dynamic_cast<const HxPortColormap*>(&connection) && HxStandardColormaps::instance().isStandard(source))
    return line({"connectStandard", source->getLabel()});
  writeComment(QString("left out: \"%1\" was connected to %2").arg(connection.getName(), source->describe()));
  return false;
}

bool NetworkWriter::writeState(const HxObject& object, const HxPort& port) {
  QString state;
  port.getState(state);
  if (state.isEmpty()) return false;
  writeLine(addressOf(object, port) + QStringList{"setState", state});
  return true;
}

/// What an object works with without being connected to it may come behind it.
void NetworkWriter::writeEntries(const HxObject& object) {
  if (!written_.contains(&object)) return;
  for (const HxPort* port : object.ports()) {
    const auto* objects = dynamic_cast<const HxPortObjects*>(port);
    if (!objects) continue;
    for (const HxPortObjects::Entry& entry : objects->entries()) {
      if (written_.contains(entry.object)) {
        writeLine(addressOf(object, *port) + QStringList{"add", entry.object->getName(), entry.settings});
      } else {
        writeComment(
            QString("left out: \"%1\" of %2 held %3").arg(port->getName(), object.getName(), entry.object->describe()));
      }
    }
  }
}

/// The words that a command of a port begins with. What does not come back as it is may come without some of its ports.
QStringList NetworkWriter::addressOf(const HxObject& object, const HxPort& port) const {
  if (different_.contains(&object)) return {object.getName(), "optional", port.getName()};
  return {object.getName(), port.getName()};
}

/// A command in which each word is one word, whatever it holds.
void NetworkWriter::writeLine(const QStringList& words) {
  Tcl_Obj* const list = newTclList(words);
  Tcl_IncrRefCount(list);
  text_ += fromTcl(list) + "\n";
  Tcl_DecrRefCount(list);
}

void NetworkWriter::writeComment(const QString& text) {
  QString line = "# " + text;
  for (QChar& c : line) {
    if (c.category() == QChar::Other_Control) c = ' ';
  }
  // A backslash at its end would make the next line part of it.
  if (line.endsWith('\\')) line += '.';
  text_ += line + "\n";
}

}  // namespace quarn::detail
