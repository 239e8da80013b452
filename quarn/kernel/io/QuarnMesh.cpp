#include "quarn/kernel/io/QuarnMesh.h"

#include <QCryptographicHash>
#include <QFileInfo>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxFileHelpers.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/io/detail/QuarnMeshParser.h"
#include "quarn/kernel/io/detail/QuarnMeshText.h"
#include "quarn/kernel/io/detail/QuarnMeshWriter.h"

namespace {

QByteArray digestOf(const QByteArray& text) {
  return QCryptographicHash::hash(text, QCryptographicHash::Sha256);
}

}  // namespace

int QuarnMesh::write(const char* filename, int format, const void* extra, bool flagA, bool flagB) const {
  try {
    const QString file = QString::fromUtf8(filename);
    if (format != TEXT || extra)
      throw McException(McException::excerpt(file.toStdString()) + ": format " + std::to_string(format) +
                        " is not known");
    const QByteArray text = toText(flagA, flagB);
    // What cannot be read must not take the place of a good file.
    parse(text, file);
    HxFileHelpers::replaceFile(file, text);
    return 1;
  } catch (const std::exception& error) {
    HxMessage::printf("%s", error.what());
    return 0;
  }
}

QByteArray QuarnMesh::toText(bool flagA, bool flagB) const {
  const int flavour = flagA ? 0 : flagB ? 2 : 1;
  return quarn::detail::quarnMeshText(parameters, quarn::detail::mesh::flavours[flavour]);
}

std::unique_ptr<QuarnMesh> QuarnMesh::read(const QString& filename) {
  return parseSource(HxFileHelpers::readFile(filename, MAX_BYTES), filename);
}

std::unique_ptr<QuarnMesh> QuarnMesh::readAgainIfChanged() const {
  if (sourceFile_.isEmpty() || !QFileInfo::exists(sourceFile_)) return nullptr;
  const QByteArray text = HxFileHelpers::readFile(sourceFile_, MAX_BYTES);
  return digestOf(text) == sourceDigest_ ? nullptr : parseSource(text, sourceFile_);
}

std::unique_ptr<QuarnMesh> QuarnMesh::parseSource(const QByteArray& text, const QString& filename) {
  std::unique_ptr<QuarnMesh> mesh = parse(text, filename);
  mesh->sourceFile_ = filename;
  mesh->sourceDigest_ = digestOf(text);
  return mesh;
}

std::unique_ptr<QuarnMesh> QuarnMesh::parse(const QByteArray& text, const QString& name) {
  if (text.size() > MAX_BYTES)
    throw McException(McException::excerpt(name.toStdString()) + ": is too long: more than " +
                      std::to_string(MAX_BYTES) + " bytes");
  auto mesh = std::make_unique<QuarnMesh>();
  quarn::detail::QuarnMeshParser(text, name, MAX_DEPTH).parseInto(mesh->parameters);
  return mesh;
}
