#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <type_traits>
#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/detail/placedGrids.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxFileHelpers.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/io/HxFieldFile.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/voxora/files/FileSystem.h"
#include "roitools/exchange/ExchangedSet.h"
#include "roitools/exchange/MaskFiller.h"
#include "roitools/exchange/MaskTable.h"
#include "roitools/exchange/Slabs.h"
#include "roitools/exchange/maskFolder.h"
#include "roitools/exchange/placeOfSet.h"

namespace roitools {

using hxroi::details::Mask;

namespace {

constexpr qint64 mostTableBytes = 1 << 20;
constexpr int mostLeftOutTold = 100;

[[noreturn]] void refuse(const QString& file, const std::string& what) {
  throw McException(McException::excerpt(file.toStdString()) + ": " + what);
}

MaskTable readTable(const QString& file) {
  return MaskTable::parse(HxFileHelpers::readFile(file, mostTableBytes), file);
}

QString pathOf(const MaskTable::Row& row, const QString& table) {
  return QFileInfo(table).path() + QLatin1Char('/') + QString::fromStdString(row.file);
}

/// Opens an image that is no link.
std::unique_ptr<hxvoxora::InputFile> open(const QString& file) {
  hxvoxora::FileSystem& files = hxvoxora::FileSystem::current();
  const std::string path = QFile::encodeName(file).toStdString();
  const hxvoxora::FileKind kind = files.kind(path);
  if (kind == hxvoxora::FileKind::missing) refuse(file, "is named by the table, but missing");
  if (kind != hxvoxora::FileKind::regular) refuse(file, "is not a regular file");
  return files.openForReading(path, hxvoxora::FileSystem::Links::refuse);
}

/// Reads an image as the user would, and takes it out of the pool again. Parameter files of other objects take no
/// "kind": they are refused before anything of theirs is loaded.
McHandle<HxUniformScalarField3> loadImage(const QString& file) {
  HxLoadOptions options;
  options.kind = QStringLiteral("label");
  HxObjectPool& pool = HxObjectPool::instance();
  McHandle<HxUniformScalarField3> field;
  for (const QString& name : HxFileTypes::instance().load(file, options)) {
    HxObject* const object = pool.find(name);
    if (!field) field = dynamic_cast<HxUniformScalarField3*>(object);
    pool.remove(object);
  }
  if (!field) refuse(file, "is not an image");
  return field;
}

McHandle<HxUniformScalarField3> readImage(const QString& file) {
  const hxvoxora::FileIdentity before = open(file)->identity();
  const bool isField = file.endsWith(HxFieldFile::suffix(), Qt::CaseInsensitive);
  const McHandle<HxUniformScalarField3> field = isField ? HxFieldFile::read(file) : loadImage(file);
  // Readers follow links.
  if (open(file)->identity() != before) refuse(file, "was changed while it was read");
  return field;
}

/// What is not a number is outside.
template <class T>
bool isInside(T value) {
  if constexpr (std::is_floating_point_v<T>)
    if (std::isnan(value)) return false;
  return value != 0;
}

/// Sets the voxels of a mask where an image is not 0.
void fill(const McHandle<Mask>& mask, const HxUniformScalarField3& image) {
  constexpr std::int64_t mostVoxelsAtOnce = 4 << 20;
  const McDim3l size = image.latticeDimensions();
  Slabs slabs(size.nx, size.ny, size.nz, mostVoxelsAtOnce);
  MaskFiller filler;
  filler.add(mask);
  image.visitValues([&](const auto* values) {
    while (const Slabs::Slab slab = slabs.next()) {
      for (std::int64_t row = 0; row < slab.slices * slab.rows; ++row, values += size.nx) {
        const auto y = static_cast<int>(slab.y + row % slab.rows), z = static_cast<int>(slab.z + row / slab.rows);
        for (std::int64_t x = 0; x < size.nx; ++x) {
          const std::int64_t first = x;
          while (x < size.nx && isInside(values[x])) ++x;
          if (x > first) filler.addRun(0, y, z, static_cast<int>(first), static_cast<int>(x));
        }
      }
      filler.endPiece();
    }
  });
}

/// Takes the grid of the first image; the others must have the same.
class Grid {
public:
  explicit Grid(ReadSet& read) : read_(read) {}

  void require(const HxUniformScalarField3& image, const QString& file) {
    if (!first_) {
      const McDim3l size = image.latticeDimensions();
      for (int axis = 0; axis < 3; ++axis) {
        if (size[axis] > std::numeric_limits<int>::max()) refuse(file, "has too many voxels for a mask");
        read_.grid[axis] = static_cast<int>(size[axis]);
      }
      read_.geometry = image.geometry();
      first_ = makePlace(read_.geometry);
      firstFile_ = file;
      return;
    }
    const McDim3l size(read_.grid.x, read_.grid.y, read_.grid.z);
    if (image.latticeDimensions() != size || !hxroi::isSamePlace(size, image.geometry(), first_->geometry()))
      refuse(file, "has another grid, or lies elsewhere, than " + McException::excerpt(firstFile_.toStdString()));
  }

private:
  ReadSet& read_;
  McHandle<HxUniformScalarField3> first_;
  QString firstFile_;
};

/// Names as ROIs can have them; those of groups are taken before those of masks.
class SetNames {
public:
  SetNames(MaskTable& table, const QString& file) {
    std::map<std::string, std::string> groups;
    for (MaskTable::Row& row : table.rows) {
      if (row.group.empty()) continue;
      const auto [at, isNew] = groups.try_emplace(row.group);
      if (isNew) at->second = names_.fit(row.group, "Group");
      row.group = at->second;
    }
    for (MaskTable::Row& row : table.rows)
      if (!row.file.empty()) row.name = names_.fit(row.name, "Mask");
    names_.tell(file);
  }

private:
  FittedNames names_;
};

}  // namespace

ReadSet readMaskFolder(const QString& file) {
  MaskTable table = readTable(file);
  const SetNames names(table, file);
  ReadSet read{new HxRois, {}, {}, {}};
  Grid grid(read);
  ExchangedSet set;
  QStringList leftOut;
  int leftOutCount = 0;
  int position = 0;
  for (const MaskTable::Row& row : table.rows) {
    if (row.file.empty()) {
      set.groups.push_back({row.group, row.color, position++});
      continue;
    }
    if (row.group.empty()) ++position;
    if (set.masks.size() == HxRois::kMaximumNumberOfMasks) {
      if (++leftOutCount <= mostLeftOutTold) leftOut.append(QString::fromStdString(McException::excerpt(row.name)));
      continue;
    }
    const QString image = pathOf(row, file);
    const McHandle<HxUniformScalarField3> field = readImage(image);
    grid.require(*field, image);
    const McHandle<Mask> mask(new Mask(row.name, read.grid, false, row.color, nullptr));
    fill(mask, *field);
    mask->flush(Mask::AllLevels);
    set.masks.push_back({mask, row.group});
  }
  if (set.masks.empty()) refuse(file, "names no masks");
  set.insertInto(*read.rois, file);
  if (leftOutCount > mostLeftOutTold) leftOut.append(QStringLiteral("and %1 more").arg(leftOutCount - mostLeftOutTold));
  if (!leftOut.isEmpty())
    read.leftOut = QStringLiteral("%1: a set holds at most %2 masks. Masks left out: %3")
                       .arg(QString::fromStdString(McException::excerpt(file.toStdString())),
                            QString::number(HxRois::kMaximumNumberOfMasks), leftOut.join(QStringLiteral(", ")));
  return read;
}

ReadSet readGridOfMaskFolder(const QString& file) {
  const MaskTable table = readTable(file);
  const auto first = std::ranges::find_if(table.rows, [](const MaskTable::Row& row) { return !row.file.empty(); });
  if (first == table.rows.end()) refuse(file, "names no masks");
  ReadSet read;
  Grid(read).require(*readImage(pathOf(*first, file)), file);
  return read;
}

}  // namespace roitools
