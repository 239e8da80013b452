#include "quarn/formats/detail/saveField.h"

#include <QFileInfo>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <optional>
#include <span>

#include "quarn/formats/detail/ImageProgress.h"
#include "quarn/formats/detail/fault.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/soundLattice.h"
#include "quarn/kernel/io/FileReplacement.h"
#include "quarn/kernel/io/GzipWriter.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/voxora/files/FileError.h"

namespace quarn::formats::detail {

namespace {

constexpr std::size_t slabBytes = std::size_t{4} * 1024 * 1024;

/// Refuses what could be written and never read again.
void requireReadable(const HxUniformScalarField3& field, const QString& file) {
  if (field.voxelCount() == 0) refuse(file, QStringLiteral("cannot hold a field without voxels"));
  requirePerpendicularLattice(field.geometry(), file);
}

std::span<const std::byte> bytesOf(const HxUniformScalarField3& field) {
  const auto count = static_cast<std::size_t>(field.voxelCount());
  return {static_cast<const std::byte*>(field.data()), count * HxUniformScalarField3::primTypeSize(field.primType())};
}

/// Writes slab after slab. Showing the progress may run events, in which anything can happen to the field.
class VoxelWriter {
public:
  VoxelWriter(const HxUniformScalarField3& field, const QString& file)
      : field_(field), file_(file), progress_(ImageProgress::Task::Writing, file), touchTime_(field.getTouchTime()) {}

  template <typename Append>
  void write(Append&& append) {
    const std::size_t all = bytesOf(field_).size();
    for (std::size_t done = 0; done < all; done += slabBytes) {
      advance(done, all);
      append(bytesOf(field_).subspan(done, std::min(slabBytes, all - done)));
    }
    advance(all, all);
  }

private:
  void advance(std::size_t done, std::size_t all) {
    progress_.advance(static_cast<float>(done) / static_cast<float>(all));
    if (field_.getTouchTime() != touchTime_ || bytesOf(field_).size() != all)
      refuse(file_, QStringLiteral("the field was changed while it was saved; save it again"));
  }

  const HxUniformScalarField3& field_;
  const QString& file_;
  const ImageProgress progress_;
  const std::uint32_t touchTime_;
};

void writeFile(const HxUniformScalarField3& field, const QString& file, const ImageHeader& header, bool isCompressed) {
  FileReplacement target(file);
  hxvoxora::OutputFile& output = target.file();
  VoxelWriter voxels(field, file);
  output.append(std::as_bytes(std::span(header.plain)));
  if (isCompressed) {
    GzipWriter packer(output);
    packer.append(std::as_bytes(std::span(header.packed)));
    voxels.write([&packer](std::span<const std::byte> bytes) { packer.append(bytes); });
    packer.finish();
  } else {
    voxels.write([&output](std::span<const std::byte> bytes) { output.append(bytes); });
  }
  target.commit();
}

/// Labels whose "Id" is another number than the one that the voxels hold.
int otherIds(const HxParamBundle& materials) {
  int others = 0;
  for (int label = 0; label < materials.size(); ++label) {
    const auto* const material = dynamic_cast<const HxParamBundle*>(materials[label]);
    std::int64_t id = 0;
    if (material && material->findNum("Id", id) && id != label) ++others;
  }
  return others;
}

/// Tells on the console what an image has no place for; true when there is such.
bool tellWhatIsLeftOut(const HxUniformScalarField3& field, const QString& file) {
  int materials = 0;
  int otherValues = 0;
  int others = 0;
  for (int i = 0; i < field.parameters.size(); ++i) {
    const HxParamBase* const element = field.parameters[i];
    const auto* const bundle = dynamic_cast<const HxParamBundle*>(element);
    if (element->name() == "Geometry") continue;
    if (element->name() == "Materials" && bundle) {
      materials = bundle->size();
      otherValues = otherIds(*bundle);
    } else if (!bundle || bundle->size() > 0) {
      ++others;
    }
  }
  const QByteArray name = QFileInfo(file).fileName().toUtf8();
  if (materials > 0) {
    HxMessage::printf(
        "%s: the format has no place for the names and colours of %d materials; a label table keeps them\n",
        name.constData(), materials);
  } else if (others > 0) {
    HxMessage::printf("%s: the format has no place for the parameters of the field\n", name.constData());
  }
  if (otherValues > 0) {
    HxMessage::printf("%s: the values are those of the field; %d of %d labels have another \"Id\"\n", name.constData(),
                      otherValues, materials);
  }
  return materials > 0 || others > 0;
}

}  // namespace

void saveField(HxUniformScalarField3& field, const QString& file, const std::function<ImageHeader()>& header,
               bool isCompressed, const HxLoadOptions& options) {
  const McHandle<HxUniformScalarField3> kept(&field);
  requireReadable(field, file);
  try {
    writeFile(field, file, header(), isCompressed);
  } catch (const hxvoxora::FileError& failure) {
    refuse(file, QStringLiteral("cannot be saved: ") + QString::fromUtf8(failure.what()));
  } catch (const std::bad_alloc&) {
    refuse(file, QStringLiteral("cannot be saved: there is not enough memory"));
  }
  if (tellWhatIsLeftOut(field, file)) return;
  field.setLoadCmd(QFileInfo(file).absoluteFilePath());
  field.setLoadOptions(options);
  field.setModified(0);
}

}  // namespace quarn::formats::detail
