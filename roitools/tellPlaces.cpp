#include "roitools/tellPlaces.h"

#include <QCoreApplication>
#include <string>

#include "quarn/kernel/fields/HxTable.h"

namespace roitools {

bool tellPlaces(const Placed& grid, const Placed& other) {
  return hxroi::warnOfPlaces(grid, other,
                             QCoreApplication::translate("roitools", "voxels are compared by their indices."));
}

void markPlaces(HxTable& table) {
  const int column = table.addColumn("places", HxTable::Kind::Text);
  for (int row = 0; row < table.rowCount(); ++row) table.setCell(row, column, std::string("differ"));
}

}  // namespace roitools
