#include "quarn/kernel/io/HxFieldFile.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <memory>
#include <new>
#include <span>
#include <vector>

#include "quarn/base/McException.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/kernel/io/detail/FieldDataWriter.h"
#include "quarn/kernel/io/detail/FieldSave.h"
#include "quarn/kernel/io/detail/FileProgress.h"
#include "quarn/kernel/io/detail/OpenedField.h"
#include "quarn/voxora/files/FileError.h"

namespace fielddata = quarn::detail::fielddata;
namespace fieldfile = quarn::detail::fieldfile;
using hxvoxora::FileSystem;
using quarn::detail::FieldDescription;
using quarn::detail::FieldSave;
using quarn::detail::FileProgress;
using quarn::detail::OpenedField;

namespace {

constexpr std::uint64_t batchBytes = fielddata::chunksAtOnce * fielddata::chunkBytes;

std::string encoded(const QString& file) {
  return QFile::encodeName(file).toStdString();
}

[[noreturn]] void refuse(const QString& file, const std::string& what) {
  throw McException(McException::excerpt(file.toStdString()) + ": " + what);
}

// --- Saving

FieldDescription descriptionOf(const HxUniformScalarField3& field) {
  FieldDescription description;
  description.isLabelField = dynamic_cast<const HxUniformLabelField3*>(&field) != nullptr;
  description.type = field.primType();
  description.dimensions = field.latticeDimensions();
  description.box = field.boundingBox();
  return description;
}

std::string textOf(const FieldDescription& description, const HxParamBundle& parameters) {
  QuarnMesh mesh;
  description.write(mesh.parameters);
  mesh.parameters.getBundle(fieldfile::parameters)->copy(parameters);
  return mesh.toText(true, false).toStdString();
}

/// Refuses what could be written and never read again.
void requireReadable(const FieldDescription& description, const HxParamBundle& parameters, const QString& file) {
  if (description.isLabelField && description.type != McPrimType::Uint8) {
    refuse(file, std::string("cannot hold labels of type ") + HxUniformScalarField3::primTypeName(description.type));
  }
  const QByteArray text = QByteArray::fromStdString(textOf(description, parameters));
  quarn::detail::requireSoundParameters(*QuarnMesh::parse(text, file), file);
}

/// Writes the voxels of a field. Showing the progress may run events, in which anything can happen to the field.
class VoxelWriter {
public:
  VoxelWriter(const HxUniformScalarField3& field, const QString& file)
      : field_(field), file_(file), touchTime_(field.getTouchTime()), all_(bytes()) {}

  void write(quarn::detail::FieldDataWriter& writer) {
    const FileProgress progress("Saving", encoded(file_));
    for (std::uint64_t done = 0; done < all_; done += batchBytes) {
      requireGoOn(progress, done);
      writer.append(std::span(static_cast<const std::byte*>(field_.data()), all_)
                        .subspan(done, std::min(batchBytes, all_ - done)));
    }
    requireGoOn(progress, all_);
    writer.finish();
  }

private:
  std::uint64_t bytes() const { return descriptionOf(field_).voxelBytes(); }

  void requireGoOn(const FileProgress& progress, std::uint64_t done) const {
    if (!progress.goOn(done, all_)) refuse(file_, "saving was interrupted, nothing has changed there");
    if (field_.getTouchTime() != touchTime_ || bytes() != all_)
      refuse(file_, "the field was changed while it was saved; save it again");
  }

  const HxUniformScalarField3& field_;
  const QString& file_;
  const std::uint32_t touchTime_;
  const std::uint64_t all_;
};

void saveFiles(const HxUniformScalarField3& field, const QString& file) {
  FieldDescription description = descriptionOf(field);
  const HxParamBundle parameters(field.parameters);
  FieldSave save(FileSystem::current(), encoded(file));
  description.generation = save.generation();
  description.dataFile = save.dataFile();
  description.replaces = save.replaces();
  requireReadable(description, parameters, file);
  quarn::detail::FieldDataWriter writer(save.createData(), save.generation());
  VoxelWriter(field, file).write(writer);
  description.dataBytes = writer.fileBytes();
  description.tableChecksum = writer.tableChecksum();
  save.commit(textOf(description, parameters));
}

// --- Reading

McHandle<HxUniformScalarField3> makeField(const OpenedField& opened, const QString& file) {
  const FieldDescription& description = opened.description();
  McHandle<HxUniformScalarField3> field;
  try {
    if (description.isLabelField) {
      field = new HxUniformLabelField3(description.dimensions);
    } else {
      field = new HxUniformScalarField3(description.dimensions, description.type);
    }
  } catch (const McException& failure) {
    refuse(file, failure.what());
  }
  // Before the parameters are there: a box that is set later would change their geometry.
  field->setBoundingBox(description.box);
  field->parameters.copy(opened.parameters());
  return field;
}

void readVoxels(const OpenedField& opened, HxUniformScalarField3& field, const QString& file) {
  const FileProgress progress("Reading", encoded(file));
  const std::uint64_t count = opened.data().chunkCount();
  auto* const voxels = static_cast<std::byte*>(field.data());
  for (std::uint64_t first = 0; first < count; first += fielddata::chunksAtOnce) {
    if (!progress.goOn(first, count)) refuse(file, "reading was interrupted");
    const auto problems = opened.readChunks(first, voxels + first * fielddata::chunkBytes);
    if (!problems.empty()) throw McException(problems.front());
  }
}

int readRegistered(QuarnMesh* mesh, const char* filename) {
  const QString file = QString::fromUtf8(filename);
  HxData::registerData(HxFieldFile::read(*mesh, file), QFileInfo(file).fileName());
  return 1;
}

int saveData(HxData* data, const char* filename) {
  HxFieldFile::save(dynamic_cast<HxUniformScalarField3&>(*data), QString::fromUtf8(filename));
  return 1;
}

void verifyMesh(QuarnMesh* mesh, const char* filename, const HxVerificationReport& report) {
  HxFieldFile::verify(*mesh, QString::fromUtf8(filename), report);
}

// --- Checking

/// Tells of damaged chunks, the first of them one by one; returns their number.
std::uint64_t checkVoxels(const OpenedField& opened, const QString& file, const HxVerificationReport& report) {
  constexpr std::uint64_t mostTold = 20;
  const FileProgress progress("Checking", encoded(file));
  const std::uint64_t count = opened.data().chunkCount();
  std::vector<std::byte> room(std::min(fielddata::chunksAtOnce, count) * fielddata::chunkBytes);
  std::uint64_t damaged = 0;
  for (std::uint64_t first = 0; first < count; first += fielddata::chunksAtOnce) {
    if (!progress.goOn(first, count)) {
      report(file + QStringLiteral(": checking was interrupted"), false);
      return damaged + 1;
    }
    for (const std::string& problem : opened.readChunks(first, room.data()))
      if (++damaged <= mostTold) report(QString::fromStdString(problem), false);
  }
  if (damaged > mostTold) report(file + QStringLiteral(": %1 more chunks are damaged").arg(damaged - mostTold), false);
  return damaged;
}

}  // namespace

void HxFieldFile::save(HxUniformScalarField3& field, const QString& file) {
  const McHandle<HxUniformScalarField3> kept(&field);
  try {
    saveFiles(field, file);
  } catch (const hxvoxora::FileError& failure) {
    refuse(file, std::string("cannot be saved: ") + failure.what());
  } catch (const std::bad_alloc&) {
    refuse(file, "cannot be saved: there is not enough memory");
  }
  field.setLoadCmd(QFileInfo(file).absoluteFilePath());
  field.setModified(0);
}

McHandle<HxUniformScalarField3> HxFieldFile::read(const QString& file) {
  const std::string text = quarn::detail::readParameterText(FileSystem::current(), encoded(file));
  return read(*QuarnMesh::parse(QByteArray::fromStdString(text), file), file);
}

McHandle<HxUniformScalarField3> HxFieldFile::read(const QuarnMesh& mesh, const QString& file) {
  try {
    const OpenedField opened(FileSystem::current(), mesh, file);
    const McHandle<HxUniformScalarField3> field = makeField(opened, file);
    readVoxels(opened, *field, file);
    field->setLoadCmd(QFileInfo(file).absoluteFilePath());
    field->setModified(0);
    return field;
  } catch (const std::bad_alloc&) {
    refuse(file, "there is not enough memory for its voxels");
  }
}

void HxFieldFile::requireFiles(const QString& file) {
  const std::string text = quarn::detail::readParameterText(FileSystem::current(), encoded(file));
  const std::unique_ptr<QuarnMesh> mesh = QuarnMesh::parse(QByteArray::fromStdString(text), file);
  const OpenedField opened(FileSystem::current(), *mesh, file);
}

void HxFieldFile::verify(const QuarnMesh& mesh, const QString& file, const HxVerificationReport& report) {
  std::unique_ptr<OpenedField> opened;
  try {
    opened = std::make_unique<OpenedField>(FileSystem::current(), mesh, file);
  } catch (const McException& failure) {
    return report(QString::fromUtf8(failure.what()), false);
  }
  if (checkVoxels(*opened, file, report) == 0) report(QString::fromStdString(opened->summary()), true);
  const std::string strangers = opened->strangers();
  if (!strangers.empty())
    report(file + ": data files that it does not use: " + QString::fromStdString(strangers), true);
}

void HxFieldFile::registerTypes() {
  HxFileTypes& types = HxFileTypes::instance();
  for (const char* content : {fieldfile::scalarContent, fieldfile::labelContent})
    types.registerQuarnMeshReader(content, suffix(), &readRegistered, &verifyMesh);
  // Label fields are scalar fields, too.
  types.registerSaver(fieldfile::scalarContent, QStringLiteral("Field"), suffix(), &saveData);
}
