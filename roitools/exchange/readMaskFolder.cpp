#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <algorithm>
#include <map>
#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxFileHelpers.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/voxora/files/FileSystem.h"
#include "roitools/exchange/ExchangedSet.h"
#include "roitools/exchange/MaskFiller.h"
#include "roitools/exchange/MaskTable.h"
#include "roitools/exchange/maskFolder.h"
#include "roitools/exchange/placeOfSet.h"

namespace roitools {

using hxroi::details::Mask;

namespace {

constexpr qint64 mostTableBytes = 1 << 20;

[[noreturn]] void refuse(const QString& file, const std::string& what) {
  throw McException(McException::excerpt(file.toStdString()) + ": " + what);
}

MaskTable readTable(const QString& file) {
  return MaskTable::parse(HxFileHelpers::readFile(file, mostTableBytes), file);
}

QString pathOf(const MaskTable::Row& row, const QString& table) {
  const QString file = QFileInfo(table).path() + QLatin1Char('/') + QString::fromStdString(row.file);
  const hxvoxora::FileKind kind = hxvoxora::FileSystem::current().kind(QFile::encodeName(file).toStdString());
  if (kind == hxvoxora::FileKind::missing) refuse(file, "is named by the table, but missing");
  if (kind != hxvoxora::FileKind::regular) refuse(file, "is not a regular file");
  return file;
}

/// Reads an image as the user would, and takes it out of the pool again.
McHandle<HxUniformScalarField3> readImage(const QString& file) {
  HxLoadOptions options;
  if (!file.endsWith(QStringLiteral(".qm"), Qt::CaseInsensitive)) options.kind = QStringLiteral("label");
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

/// Sets the voxels of a mask where an image is not 0.
void fill(const McHandle<Mask>& mask, const HxUniformScalarField3& image) {
  constexpr int slicesAtOnce = 16;
  const McDim3l size = image.latticeDimensions();
  MaskFiller filler;
  filler.add(mask);
  image.visitValues([&](const auto* values) {
    for (std::int64_t z = 0; z < size.nz; ++z) {
      for (std::int64_t y = 0; y < size.ny; ++y, values += size.nx) {
        for (std::int64_t x = 0; x < size.nx; ++x) {
          const std::int64_t first = x;
          while (x < size.nx && values[x] != 0) ++x;
          if (x > first)
            filler.addRun(0, static_cast<int>(y), static_cast<int>(z), static_cast<int>(first), static_cast<int>(x));
        }
      }
      if (z % slicesAtOnce == slicesAtOnce - 1) filler.endPiece();
    }
  });
  filler.endPiece();
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
    if (image.latticeDimensions() != size || !isSamePlace(image, *first_))
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
  int position = 0;
  for (const MaskTable::Row& row : table.rows) {
    if (row.file.empty()) {
      set.groups.push_back({row.group, row.color, position++});
      continue;
    }
    if (row.group.empty()) ++position;
    if (set.masks.size() == HxRois::kMaximumNumberOfMasks) {
      leftOut.append(QString::fromStdString(row.name));
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
  set.insertInto(*read.rois);
  if (!leftOut.isEmpty())
    read.leftOut = QStringLiteral("%1: a set holds at most %2 masks. Masks left out: %3")
                       .arg(QString::fromStdString(McException::excerpt(file.toStdString())))
                       .arg(HxRois::kMaximumNumberOfMasks)
                       .arg(leftOut.join(QStringLiteral(", ")));
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
