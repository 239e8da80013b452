#include "quarn/formats/detail/DicomSeries.h"

#include <QFileInfo>
#include <QStringList>
#include <algorithm>
#include <cmath>
#include <exception>
#include <map>
#include <string>
#include <utility>

#include "quarn/base/McException.h"
#include "quarn/formats/detail/fault.h"
#include "quarn/formats/detail/folderFiles.h"
#include "quarn/formats/detail/stackOrder.h"
#include "quarn/formats/detail/voxelBytes.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/soundLattice.h"

namespace quarn::formats::detail {

namespace {

QString nameOf(const DicomSlice& slice) {
  return QFileInfo(slice.file).fileName();
}

/// The names of files that cannot be read, and why.
using Failures = std::vector<QString>;

void note(Failures& failures, const QString& file, const std::exception& failure) {
  const QString text = QString::fromUtf8(failure.what());
  const QString place = file + QStringLiteral(": ");
  failures.push_back(QFileInfo(file).fileName() + QStringLiteral(": ") +
                     (text.startsWith(place) ? text.mid(place.size()) : text));
}

void requireOneSeries(const QString& folder, const std::vector<DicomSlice>& slices, const Failures& failures) {
  constexpr std::size_t mostListed = 20;
  struct Series {
    std::string description;
    int files = 0;
    std::int64_t bytes = 0;
  };
  std::map<std::string, Series> all;
  for (const DicomSlice& slice : slices) {
    Series& series = all[slice.series];
    if (series.description.empty()) series.description = slice.description;
    ++series.files;
    series.bytes += slice.fileBytes;
  }
  if (all.size() == 1 && failures.empty()) return;
  QStringList list;
  for (const auto& [identifier, series] : all) {
    list += QStringLiteral("%1 (%2), %3 files, %4 bytes")
                .arg(detail::quoted(series.description), detail::quoted(identifier), QString::number(series.files),
                     QString::number(series.bytes));
    if (static_cast<std::size_t>(list.size()) == mostListed) break;
  }
  if (all.size() > mostListed) list += QStringLiteral("and more");
  for (std::size_t i = 0; i < std::min(failures.size(), mostListed); ++i) list += failures[i];
  if (failures.size() > mostListed) list += QStringLiteral("and more");
  QString what = QStringLiteral("holds %1 series").arg(all.size());
  if (!failures.empty()) what += QStringLiteral(" and %1 files that cannot be read").arg(failures.size());
  refuse(folder, what + QStringLiteral(", one series is needed; ") + list.join(QStringLiteral("; ")));
}

void requireAlike(const QString& place, const DicomSlice& first, const DicomSlice& slice) {
  constexpr double tolerance = 1e-4;
  const auto refuseSlice = [&](const QString& what) {
    refuse(place, nameOf(slice) + QLatin1Char(' ') + what + QStringLiteral(" than ") + nameOf(first));
  };
  if (slice.columns != first.columns || slice.rows != first.rows)
    refuseSlice(QStringLiteral("has another size (%1 x %2)").arg(slice.columns).arg(slice.rows));
  if (slice.orientation.has_value() != first.orientation.has_value())
    refuseSlice(QStringLiteral("has another direction"));
  for (std::size_t i = 0; first.orientation && i < 6; ++i) {
    if (std::abs((*slice.orientation)[i] - (*first.orientation)[i]) > tolerance)
      refuseSlice(QStringLiteral("has another direction"));
  }
  for (std::size_t i = 0; i < 2; ++i) {
    if (std::abs(slice.pixelSize[i] - first.pixelSize[i]) > tolerance * std::abs(first.pixelSize[i]))
      refuseSlice(
          QStringLiteral("has pixels of another size (%1 x %2 mm)").arg(slice.pixelSize[0]).arg(slice.pixelSize[1]));
  }
}

}  // namespace

DicomSeries DicomSeries::ofFolder(const QString& folder, const Progress& progress) {
  const std::vector<QString> files = filesOf(folder);
  std::vector<DicomSlice> slices;
  Failures failures;
  std::size_t done = 0;
  for (const QString& file : files) {
    try {
      auto slice = DicomSlice::read(file);
      const bool isNamedDicom = file.endsWith(QStringLiteral(".dcm"), Qt::CaseInsensitive);
      if (!slice && isNamedDicom) refuse(file, QStringLiteral("is not a DICOM image"));
      if (slice) slices.push_back(std::move(*slice));
    } catch (const McException& failure) {
      note(failures, file, failure);
    }
    progress(static_cast<float>(++done) / static_cast<float>(files.size()));
  }
  if (slices.empty() && failures.empty()) refuse(folder, QStringLiteral("is a folder without DICOM images"));
  requireOneSeries(folder, slices, failures);
  const std::size_t passedOver = files.size() - slices.size();
  DicomSeries series(folder, std::move(slices));
  if (passedOver > 0) {
    HxMessage::printf("%s: %zu files that are no DICOM images were passed over\n", qUtf8Printable(folder), passedOver);
  }
  return series;
}

DicomSeries DicomSeries::ofFile(const QString& file) {
  auto slice = DicomSlice::read(file);
  if (!slice) refuse(file, QStringLiteral("is not a DICOM image"));
  std::vector<DicomSlice> slices;
  slices.push_back(std::move(*slice));
  return {file, std::move(slices)};
}

DicomSeries::DicomSeries(DicomSeries&& other) noexcept : slices_(std::move(other.slices_)) {
  description_ = other.description_;
}

DicomSeries::DicomSeries(const QString& place, std::vector<DicomSlice> slices) : slices_(std::move(slices)) {
  for (const DicomSlice& slice : slices_) requireAlike(place, slices_.front(), slice);
  description_.geometry = sortIntoStack(place, slices_);
  requirePerpendicularLattice(description_.geometry, place);
  const DicomSlice& first = slices_.front();
  description_.dimensions = {first.columns, first.rows, static_cast<std::int64_t>(slices_.size())};
  description_.kind = commonKind(slices_);
  voxelBytes(dimensions(), kind(), place);
  if (std::ranges::none_of(slices_, &DicomSlice::hasPixelSize))
    HxMessage::printf("%s: does not tell the size of its pixels, which is taken for 1 mm\n", qUtf8Printable(place));
}

void DicomSeries::readVoxels(void* voxels, const Progress& progress) {
  const std::size_t sliceBytes = static_cast<std::size_t>(dimensions()[0] * dimensions()[1]) * bytesOf(kind());
  for (std::size_t z = 0; z < slices_.size(); ++z) {
    const auto sliceProgress = [&](float fraction) {
      progress((static_cast<float>(z) + fraction) / static_cast<float>(slices_.size()));
    };
    slices_[z].readPixels(kind(), static_cast<std::byte*>(voxels) + z * sliceBytes, sliceProgress);
  }
}

}  // namespace quarn::formats::detail
