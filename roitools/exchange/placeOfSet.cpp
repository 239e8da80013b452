#include "roitools/exchange/placeOfSet.h"

#include <QFileInfo>

#include "hxroi/HxRois.h"
#include "hxroi/detail/SetPlace.h"
#include "hxroi/detail/placedGrids.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/objects/hxconnection_cast.h"

namespace roitools {

namespace {

McDim3l dimensionsOf(const McVec3i& grid) {
  return {grid.x, grid.y, grid.z};
}

HxUniformScalarField3* findField(const ReadSet& read) {
  for (const McHandle<HxObject>& object : HxObjectPool::instance().objects()) {
    auto* const field = dynamic_cast<HxUniformScalarField3*>(object.get());
    if (field && field->latticeDimensions() == dimensionsOf(read.grid) &&
        hxroi::isSamePlace(field->latticeDimensions(), field->geometry(), read.geometry))
      return field;
  }
  return nullptr;
}

}  // namespace

McHandle<HxUniformScalarField3> makePlace(const HxGeometry3& geometry) {
  McHandle<HxUniformScalarField3> place(new HxUniformScalarField3(McDim3l(1, 1, 1), McPrimType::Uint8));
  place->setGeometry(geometry);
  return place;
}

HxGeometry3 geometryToWrite(const HxRois& rois, const QString& target) {
  if (const std::optional<HxGeometry3> place = hxroi::placeOf(rois)) return *place;
  HxMessage::printf(
      "%s: no field is connected to \"data\" of %s, and it remembers no place: its voxels are taken to be of 1 mm, the "
      "first at the origin",
      McException::excerpt(target.toStdString()).c_str(), qUtf8Printable(rois.getLabel()));
  return {};
}

McHandle<HxUniformScalarField3> makeGridField(const McVec3i& grid, const HxGeometry3& geometry, const QString& file) {
  try {
    const McHandle<HxUniformLabelField3> field(new HxUniformLabelField3(dimensionsOf(grid)));
    field->setGeometry(geometry);
    HxLoadOptions options;
    options.kind = QStringLiteral("scalar");
    field->setLoadCmd(QFileInfo(file).absoluteFilePath());
    field->setLoadOptions(options);
    field->setModified(0);
    return field.get();
  } catch (const McException& failure) {
    throw McException(McException::excerpt(file.toStdString()) + ": " + failure.what());
  }
}

void connectToPlace(const ReadSet& read, const QString& name, const QString& file, std::int64_t mostVoxels) {
  HxUniformScalarField3* field = findField(read);
  if (!field) {
    try {
      const McDim3l size = dimensionsOf(read.grid);
      if (size.nx > mostVoxels / size.ny / size.nz)
        throw McException(McException::excerpt(file.toStdString()) +
                          ": no field is made for a grid of so many voxels; -kind scalar makes one all the same");
      const McHandle<HxUniformScalarField3> made = makeGridField(read.grid, read.geometry, file);
      HxData::registerData(made, name + QStringLiteral("-grid"));
      field = made.get();
    } catch (const McException& failure) {
      hxroi::storePlace(read.geometry, dimensionsOf(read.grid), read.rois->parameters);
      HxMessage::printf("%s. The set itself remembers where it lies.", failure.what());
      return;
    }
  }
  read.rois->portData.connect(field);
}

}  // namespace roitools
