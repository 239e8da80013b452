#include "examples/package/HxHistogram.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/HxTable.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/objects/hxconnection_cast.h"

MC_CLASS_IMPL(HxHistogram, HxCompModule)

namespace {

/// Ranges of equal width between two values.
struct Ranges {
  double minimum, width;
  std::vector<std::int64_t> voxels;

  void count(double value) {
    if (!std::isfinite(value)) return;
    const double range = width > 0 ? std::floor((value - minimum) / width) : 0;
    ++voxels[std::min(static_cast<std::size_t>(range), voxels.size() - 1)];
  }
};

Ranges rangesOf(const HxUniformScalarField3& field, std::size_t number) {
  double minimum, maximum;
  field.valueRange(minimum, maximum);
  if (!(minimum <= maximum) || !std::isfinite(maximum - minimum))
    throw McException("the values of the field have no finite range");
  Ranges ranges{minimum, (maximum - minimum) / static_cast<double>(number), std::vector<std::int64_t>(number)};
  field.visitValues([&](const auto* values) {
    std::for_each(values, values + field.voxelCount(), [&](auto value) { ranges.count(static_cast<double>(value)); });
  });
  return ranges;
}

McHandle<HxTable> tableOf(const Ranges& ranges) {
  McHandle<HxTable> table(new HxTable);
  table->setLabel("Histogram");
  table->addColumn("from", HxTable::Kind::Real, 1);
  table->addColumn("to", HxTable::Kind::Real, 1);
  table->addColumn("voxels", HxTable::Kind::Integer);
  for (std::size_t i = 0; i < ranges.voxels.size(); ++i) {
    const double from = ranges.minimum + ranges.width * static_cast<double>(i);
    table->addRow({from, from + ranges.width, ranges.voxels[i]});
  }
  return table;
}

}  // namespace

HxHistogram::HxHistogram()
    : HxCompModule(HxUniformScalarField3::getClassTypeId()),
      portRanges(this, "ranges", "Ranges", 1, 1000),
      portDoIt(this, "doIt", "Do It") {}

HxHistogram::~HxHistogram() = default;

void HxHistogram::compute() {
  if (!portDoIt.wasHit()) return;
  const auto* field = hxconnection_cast<HxUniformScalarField3>(dataConnection);
  if (!field) throw McException("no field is connected to \"data\"");
  const McHandle<HxTable> table = tableOf(rangesOf(*field, static_cast<std::size_t>(portRanges.getValue())));
  HxMessage::printf("%s", table->toText().c_str());
  setResult(table.get());
}
