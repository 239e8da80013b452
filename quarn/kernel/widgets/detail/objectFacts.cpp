#include "quarn/kernel/widgets/detail/objectFacts.h"

#include <QCoreApplication>
#include <QStringList>

#include "quarn/kernel/fields/HxTable.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"

namespace quarn::detail {
namespace {

QString tr(const char* text) {
  return QCoreApplication::translate("objectFacts", text);
}

template <class Number>
QString crossed(Number x, Number y, Number z) {
  const QStringList texts{QString::number(x), QString::number(y), QString::number(z)};
  return texts.join(QString::fromUtf8(" \u00d7 "));
}

QString factsOfField(const HxUniformScalarField3& field) {
  const McDim3l& size = field.latticeDimensions();
  if (field.voxelCount() == 0) return tr("no voxels");
  const auto& spacing = field.geometry().voxelSize;
  const auto* labels = dynamic_cast<const HxUniformLabelField3*>(&field);
  const QString kind =
      labels ? tr("labels") : QString::fromLatin1(HxUniformScalarField3::primTypeName(field.primType()));
  return tr("%1 voxels of %2, %3")
      .arg(crossed(size.nx, size.ny, size.nz), crossed(spacing[0], spacing[1], spacing[2]), kind);
}

}  // namespace

QString factsOf(const HxObject& object) {
  if (const auto* field = dynamic_cast<const HxUniformScalarField3*>(&object)) return factsOfField(*field);
  if (const auto* table = dynamic_cast<const HxTable*>(&object))
    return tr("%1 rows, %2 columns").arg(table->rowCount()).arg(table->columnCount());
  return {};
}

}  // namespace quarn::detail
