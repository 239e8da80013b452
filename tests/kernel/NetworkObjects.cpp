#include "tests/kernel/NetworkObjects.h"

#include <QFileInfo>

#include "quarn/kernel/app/HxFileHelpers.h"
#include "quarn/kernel/io/HxFileTypes.h"

MC_CLASS_IMPL(NetNote, HxData)
MC_CLASS_IMPL(NetMaker, HxCompModule)

NetNote::NetNote() {
  choice.setLabel(0, "a");
  choice.setLabel(1, "b");
  choice.setLabel(2, "c");
}

NetNote::~NetNote() = default;

NetMaker::NetMaker() : HxCompModule(NetNote::getClassTypeId()) {}

NetMaker::~NetMaker() = default;

void NetMaker::compute() {
  const auto* source = dynamic_cast<const NetNote*>(dataConnection.source());
  if (!doIt.wasHit() || !source) return;
  McHandle<NetNote> made(dynamic_cast<NetNote*>(resultObject()));
  if (!made) made = new NetNote;
  made->setLabel("made");
  made->text = source->text + ending.getValue();
  setResult(made);
}

namespace {

int readNote(const QString& file, const HxLoadOptions& options) {
  const McHandle<NetNote> note(new NetNote);
  note->text = QString::fromUtf8(HxFileHelpers::readFile(file, 1000));
  note->setLoadCmd(QFileInfo(file).absoluteFilePath());
  HxData::registerData(note, options.name.isEmpty() ? file : options.name);
  return 1;
}

}  // namespace

NoteFiles::NoteFiles() {
  NetNote::initClass();
  NetMaker::initClass();
  HxFileTypes::instance().registerReader("Notes", {".note"}, &readNote);
}

NoteFiles::~NoteFiles() {
  HxFileTypes::instance().unregisterReader("Notes");
  NetMaker::exitClass();
  NetNote::exitClass();
}
