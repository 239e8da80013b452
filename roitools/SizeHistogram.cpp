#include "roitools/SizeHistogram.h"

#include <QCoreApplication>
#include <algorithm>

namespace roitools {

namespace {

constexpr int kRangeWidth = 30, kColumnWidth = 14;

/// The class of a size: 0 for 1, else the number of its digits.
std::size_t classOf(std::uint64_t voxels) {
  std::size_t digits = 0;
  for (std::uint64_t rest = voxels; rest != 0; rest /= 10) ++digits;
  return voxels == 1 ? 0 : digits;
}

QString rangeOf(std::size_t number) {
  if (number == 0) return "1";
  if (number == 1) return "2 - 9";
  const QString zeros(static_cast<int>(number) - 1, '0'), nines(static_cast<int>(number), '9');
  return "1" + zeros + " - " + nines;
}

QString line(const QString& range, const QString& components, const QString& voxels) {
  return range.rightJustified(kRangeWidth) + components.rightJustified(kColumnWidth) +
         voxels.rightJustified(kColumnWidth) + "\n";
}

QString tr(const char* text) {
  return QCoreApplication::translate("HxRoiSplit", text);
}

}  // namespace

void SizeHistogram::add(std::uint64_t voxels) {
  Class& counted = classes_[classOf(voxels)];
  ++counted.components;
  counted.voxels += voxels;
  ++components_;
  voxels_ += voxels;
}

QString SizeHistogram::toText() const {
  if (components_ == 0) return QString();
  const auto isUsed = [](const Class& counted) { return counted.components != 0; };
  const auto first = std::find_if(classes_.begin(), classes_.end(), isUsed);
  const auto last = std::find_if(classes_.rbegin(), classes_.rend(), isUsed).base();
  QString text = line(tr("size (voxels)"), tr("components"), tr("voxels"));
  for (auto next = first; next != last; ++next) {
    text += line(rangeOf(static_cast<std::size_t>(next - classes_.begin())), QString::number(next->components),
                 QString::number(next->voxels));
  }
  return text;
}

}  // namespace roitools
