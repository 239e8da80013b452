#include "roitools/tellPlaces.h"

#include <QCoreApplication>

#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "roitools/exchange/placeOfSet.h"

namespace roitools {

void tellPlaces(const HxUniformScalarField3* field, const HxUniformScalarField3* other) {
  if (!field || !other || field->latticeDimensions() != other->latticeDimensions()) return;
  if (isSamePlace(*field, *other)) return;
  const QString text = QCoreApplication::translate(
      "roitools", "%1 and %2 have one grid but lie in different places; voxels are compared by their indices.");
  HxMessage::printf("%s", qUtf8Printable(text.arg(field->getLabel(), other->getLabel())));
}

}  // namespace roitools
