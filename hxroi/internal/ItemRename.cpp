#include "hxroi/internal/ItemRename.h"

#include <QString>

#include "hxroi/details/Roi.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeModel.h"

namespace hxroi {

std::string nameFor(const QxRoiTreeItem& item, const QString& text) {
  const QxRoiTreeModel* model = item.getModel();
  if (!text.isEmpty()) {
    const std::string legal = details::Roi::fixedName(text.toLatin1().toStdString());
    return model ? model->getUniqueName(legal) : legal;
  }
  if (!model) return item.getRoi()->name();
  return item.isGroup() ? model->getAvailableGroupName() : model->getAvailableMaskName();
}

}  // namespace hxroi
