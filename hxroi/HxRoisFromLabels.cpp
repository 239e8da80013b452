#include <QCoreApplication>

#include "hxroi/HxRois.h"
#include "hxroi/HxRoisHelpers.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McColor.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/params/HxParamBundle.h"

using hxroi::details::Mask;

namespace {

void requireBinary(const HxUniformLabelField3& field) {
  double low = 0;
  double high = 0;
  field.valueRange(low, high);
  if (high > 1.0) {
    throw hxException(QCoreApplication::translate(
        "HxRois", "Can not create and insert mask from a HxUniformLabelField3 that is not a binary label field."));
  }
}

}  // namespace

void HxRois::createAndInsertRoiFromBinaryLabelField(HxUniformLabelField3* field) {
  requireBinary(*field);
  const McVec3i grid = HxRoisHelpers::gridOf(*field);
  if (!masks_.empty() && grid != dimensions()) {
    throw hxException(QCoreApplication::translate("HxRois", "Can not insert mask because dimensions don't match."));
  }

  const HxParamBundle* material = field->materials(true)->getBundle(1);
  const std::string name = getUniqueName(
      material ? material->name() : HxRoisHelpers::DEFAULT_ROI_NAME + "-" + std::to_string(getNumberOfRois() + 1));
  McColor color = McColor::nextHtmlColor();
  if (material) {
    HxRoisHelpers::copyMaterial(*material, *parameters.getMaterials(1)->getBundle(name));
    material->getMaterialColor(color);
  }

  const McHandle<Mask> mask(new Mask(name, grid, false, color, nullptr));
  try {
    addRoi(mask);
  } catch (const McException& refusal) {
    HxMessage::printf("%s", refusal.what());
    return;
  }
  try {
    HxRoisHelpers::store(field, 1, mask, nullptr);
  } catch (...) {
    removeRoi(name);
    throw;
  }
}
