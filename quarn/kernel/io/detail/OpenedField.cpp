#include "quarn/kernel/io/detail/OpenedField.h"

#include <QFile>
#include <tbb/parallel_for.h>

#include "quarn/base/McException.h"
#include "quarn/base/McHandle.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/io/detail/FieldFileNames.h"
#include "quarn/kernel/io/detail/FieldSave.h"
#include "quarn/kernel/io/detail/fieldDataLayout.h"
#include "quarn/voxora/files/fileNames.h"

namespace quarn::detail {
namespace {

/// Runs `parse`, whose failures do not name the file yet.
template <class Parse>
auto parsing(const QString& file, Parse parse) {
  try {
    return parse();
  } catch (const McException& failure) {
    throw McException(McException::excerpt(file.toStdString()) + ": " + failure.what());
  }
}

}  // namespace

void requireSoundParameters(const QuarnMesh& mesh, const QString& file) {
  parsing(file, [&] {
    const HxParamBundle* parameters = mesh.parameters.getBundle(fieldfile::parameters);
    if (!parameters) throw McException("the bundle \"parameters\" is missing");
    if (!parameters->getBundle("Geometry")) return;
    // A field of its own shows whether a field may lie so.
    const McHandle<HxUniformScalarField3> probe(new HxUniformScalarField3(McDim3l(1, 1, 1), McPrimType::Uint8));
    probe->parameters.copy(*parameters);
    probe->setGeometry(probe->geometry());
  });
}

OpenedField::OpenedField(hxvoxora::FileSystem& files, const QuarnMesh& mesh, const QString& file)
    : files_(files), file_(file), path_(QFile::encodeName(file).toStdString()), mesh_(&mesh) {
  while (!data_) {
    description_ = parsing(file, [&] { return FieldDescription::parse(mesh_->parameters); });
    requireSoundParameters(*mesh_, file);
    try {
      data_ =
          std::make_unique<FieldDataReader>(files, hxvoxora::folderPrefix(path_) + description_.dataFile, description_);
    } catch (const McException& failure) {
      // A save may have put another data file in the place of the one that was there a moment ago.
      auto newer = newerContent();
      if (!newer && files.kind(hxvoxora::folderPrefix(path_) + description_.dataFile) == hxvoxora::FileKind::missing)
        throw McException(McException::excerpt(path_) +
                          ": the data file that goes with it is missing: " + failure.what());
      if (!newer) throw;
      newer_ = std::move(newer);
      mesh_ = newer_.get();
    }
  }
}

/// What the file holds now, when that is another save; else null.
std::unique_ptr<QuarnMesh> OpenedField::newerContent() const {
  try {
    auto newer = QuarnMesh::parse(QByteArray::fromStdString(readParameterText(files_, path_)), file_);
    if (FieldDescription::parse(newer->parameters).generation != description_.generation) return newer;
  } catch (const McException&) {
    // The first failure tells more.
  }
  return nullptr;
}

const HxParamBundle& OpenedField::parameters() const {
  return *mesh_->parameters.getBundle(fieldfile::parameters);
}

std::vector<std::string> OpenedField::readChunks(std::uint64_t first, std::byte* out) const {
  const std::uint64_t count = std::min(fielddata::chunksAtOnce, data_->chunkCount() - first);
  std::vector<std::string> problems(count);
  tbb::parallel_for(std::uint64_t{0}, count, [&](std::uint64_t i) {
    const std::span<std::byte> chunk(out + i * fielddata::chunkBytes, data_->bytesOf(first + i));
    problems[i] = data_->read(first + i, chunk);
  });
  std::erase_if(problems, [](const std::string& problem) { return problem.empty(); });
  return problems;
}

std::string OpenedField::summary() const {
  const McDim3l& n = description_.dimensions;
  return description_.dataFile + ": " + std::to_string(n.nx) + " x " + std::to_string(n.ny) + " x " +
         std::to_string(n.nz) + " voxels of type " + HxUniformScalarField3::primTypeName(description_.type) + ", " +
         std::to_string(data_->chunkCount()) + " chunks, " + std::to_string(data_->fileBytes()) + " bytes read";
}

std::string OpenedField::strangers() const {
  const FieldFileNames names(path_);
  std::string text;
  for (const std::string& name : files_.list(hxvoxora::folderOf(path_))) {
    if (!names.generationOfData(name) || name == description_.dataFile) continue;
    text += (text.empty() ? "" : ", ") + name;
  }
  return text;
}

}  // namespace quarn::detail
