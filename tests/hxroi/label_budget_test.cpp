#include "quarn/voxora/tiles/MemoryBudget.h"
#include "tests/hxroi/ConversionTest.h"

/// Label fields whose masks do not fit into the memory budget.
namespace {

class LabelBudget : public ConversionTest {
protected:
  LabelBudget() {
    // As in a process that has had no mask.
    hxvoxora::setSpillPrefix(std::string());
  }
  ~LabelBudget() override { hxvoxora::setMemoryBudget(former_); }

  /// 16 labels in stripes of a voxel, so that every tile of every label has bits of its own.
  static McHandle<HxUniformLabelField3> stripes(int size) {
    McHandle<HxUniformLabelField3> field(new HxUniformLabelField3(McDim3l(size, size, size)));
    auto* labels = static_cast<std::uint8_t*>(field->data());
    for (std::int64_t i = 0; i < field->voxelCount(); ++i) labels[i] = static_cast<std::uint8_t>(i % 16 + 1);
    return field;
  }

private:
  const std::size_t former_ = hxvoxora::memoryBudget();
};

TEST_F(LabelBudget, FirstMasksOfAProcessAreSpilled) {
  const McHandle<HxUniformLabelField3> field = stripes(128);
  hxvoxora::setMemoryBudget(std::size_t{1} << 20);
  const std::uint64_t spills = hxvoxora::cacheStatistics().spills;
  const HxRois* set = convert(field);
  ASSERT_NE(set, nullptr);
  ASSERT_EQ(set->masks().size(), 16U);
  EXPECT_GT(hxvoxora::cacheStatistics().spills, spills);
  for (const Mask* mask : set->masks()) EXPECT_EQ(count(*mask), 128U * 128U * 128U / 16U) << mask->name();
}

}  // namespace
