#include "quarn/formats/detail/TiffStack.h"

#include <QFileInfo>
#include <algorithm>
#include <cstddef>
#include <utility>

#include "quarn/base/McException.h"
#include "quarn/formats/detail/DicomSlice.h"
#include "quarn/formats/detail/TiffVolume.h"
#include "quarn/formats/detail/fault.h"
#include "quarn/formats/detail/folderFiles.h"
#include "quarn/formats/detail/voxelBytes.h"

namespace quarn::formats::detail {

namespace {

bool isTiff(const QString& file) {
  return file.endsWith(QLatin1String(".tif"), Qt::CaseInsensitive) ||
         file.endsWith(QLatin1String(".tiff"), Qt::CaseInsensitive);
}

/// One that is damaged counts, so that its reader tells.
bool isDicom(const QString& file) {
  try {
    return DicomSlice::read(file).has_value();
  } catch (const McException&) {
    return true;
  }
}

void requireAlike(const QString& folder, const QString& file, const ImageDescription& page, const QString& firstFile,
                  const ImageDescription& first) {
  const auto refusePage = [&](const QString& what) {
    refuse(folder, QFileInfo(file).fileName() + what + QStringLiteral(" than ") + QFileInfo(firstFile).fileName());
  };
  if (page.dimensions[0] != first.dimensions[0] || page.dimensions[1] != first.dimensions[1])
    refusePage(QStringLiteral(" has another size (%1 x %2)").arg(page.dimensions[0]).arg(page.dimensions[1]));
  if (page.kind != first.kind) refusePage(QStringLiteral(" holds numbers of another type"));
  if (page.geometry.voxelSize != first.geometry.voxelSize) refusePage(QStringLiteral(" has voxels of another size"));
}

}  // namespace

std::vector<QString> TiffStack::filesIn(const QString& folder) {
  std::vector<QString> files = filesOf(folder);
  const auto others = std::partition(files.begin(), files.end(), isTiff);
  if (others == files.begin() || std::any_of(others, files.end(), isDicom)) return {};
  files.erase(others, files.end());
  return files;
}

TiffStack::TiffStack(const QString& folder, std::vector<QString> files, const Progress& progress)
    : files_(std::move(files)) {
  std::sort(files_.begin(), files_.end(), naturallyBefore);
  for (const QString& file : files_) {
    const TiffVolume pages(file, [](float) {});
    if (pages_.empty()) {
      description_ = pages.description();
    } else {
      requireAlike(folder, file, pages.description(), files_.front(), description_);
      description_.dimensions[2] += pages.dimensions()[2];
    }
    pages_.push_back(pages.dimensions()[2]);
    progress(static_cast<float>(pages_.size()) / static_cast<float>(files_.size()));
  }
  voxelBytes(dimensions(), kind(), folder);
}

void TiffStack::readVoxels(void* voxels, const Progress& progress) {
  const auto pageBytes = static_cast<std::size_t>(dimensions()[0] * dimensions()[1]) * bytesOf(kind());
  auto* target = static_cast<std::byte*>(voxels);
  for (std::size_t i = 0; i < files_.size(); ++i) {
    TiffVolume pages(files_[i], [](float) {});
    ImageDescription expected = description_;
    expected.dimensions[2] = pages_[i];
    if (pages.dimensions() != expected.dimensions || pages.kind() != expected.kind)
      refuse(files_[i], QStringLiteral("was changed while it was read"));
    pages.readVoxels(target, [&](float fraction) {
      progress((static_cast<float>(i) + fraction) / static_cast<float>(files_.size()));
    });
    target += pageBytes * static_cast<std::size_t>(pages_[i]);
  }
}

}  // namespace quarn::formats::detail
