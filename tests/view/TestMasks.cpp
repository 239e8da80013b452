#include "tests/view/TestMasks.h"

#include <algorithm>
#include <stdexcept>

#include "quarn/voxora/nodes/SoCpuBufferBitSet.h"

namespace {

class Answers : public HxISetOfVolumeMask, public HxPlaced {
public:
  explicit Answers(TestMasks* owner) : HxISetOfVolumeMask(owner), masks_(owner) {}

  HxISetOfVolumeData* doGetReferenceVolumeData() const override {
    ask("reference");
    return masks_->reference;
  }
  std::optional<HxGeometry3> place() const override { return masks_->place; }
  VolumeList doGetVisibleVolumeMask() const override {
    ask("visible");
    return list(true);
  }
  const void* doGetUniqueIdentifier() const override { return masks_; }
  std::optional<DrawStyle> doGetOverlappingDrawStyle() const override {
    ask("style");
    return masks_->overlapStyle;
  }
  const HxColormap* doGetOverlappingColormap() const override { return masks_->overlapColormap; }
  std::optional<McColor> doGetOverlappingColor() const override { return masks_->overlapColor; }
  std::optional<Range> doGetOverlappingColormapRange() const override { return std::nullopt; }
  bool doGetOverlappingColormapAlphaEnabled() const override { return false; }
  VolumeList doGetVolumeMask() const override { return list(false); }
  QString doGetVolumeMaskName(const HxVolumeData* mask) const override {
    ask("name", mask);
    return mask->getLabel();
  }
  const HxColormap* doGetVolumeMaskColormap(const HxVolumeData* mask) const override { return of(mask).colormap; }
  std::optional<Range> doGetVolumeMaskColormapRange(const HxVolumeData* mask) const override { return of(mask).range; }
  McColor doGetVolumeMaskColor(const HxVolumeData* mask) const override {
    ask("color", mask);
    return of(mask).color;
  }
  bool doGetVolumeMaskColormapAlphaEnabled(const HxVolumeData*) const override { return false; }

private:
  void ask(const char* question, const HxVolumeData* mask = nullptr) const {
    if (masks_->onQuestion) masks_->onQuestion(question, mask);
  }

  const TestMasks::Mask& of(const HxVolumeData* data) const {
    for (const TestMasks::Mask& mask : masks_->masks)
      if (mask.data == data) return mask;
    throw std::out_of_range("bimap<>: invalid key");
  }

  VolumeList list(bool onlyVisible) const {
    VolumeList result;
    for (const TestMasks::Mask& mask : masks_->masks)
      if (mask.isVisible || !onlyVisible) result.push_back(mask.data);
    return result;
  }

  TestMasks* masks_;
};

}  // namespace

void fill(SoVolumeMask& node, const Shape& shape) {
  const SbVec3i32 n = node.dataDimension();
  SoCpuBufferBitSet bits;
  bits.setSize(static_cast<std::size_t>(n[0]) * static_cast<std::size_t>(n[1]) * static_cast<std::size_t>(n[2]));
  auto* bytes = static_cast<unsigned char*>(bits.map(SoCpuBufferObject::READ_WRITE));
  std::fill_n(bytes, bits.getByteSize(), static_cast<unsigned char>(0));
  std::size_t i = 0;
  for (int z = 0; z < n[2]; ++z)
    for (int y = 0; y < n[1]; ++y)
      for (int x = 0; x < n[0]; ++x, ++i)
        if (shape(x, y, z)) bytes[i >> 3] = static_cast<unsigned char>(bytes[i >> 3] | (0x80 >> (i & 7)));
  bits.unmap();
  const int transaction = node.beginTransaction();
  node.replaceBox({{0, 0, 0}, {n[0] - 1, n[1] - 1, n[2] - 1}}, &bits);
  node.endTransaction(transaction);
}

MaskNode newNode(const SbVec3i32& dimensions, const Shape& shape) {
  MaskNode node(new SoVolumeMask);
  node->initializeInMemory(dimensions, {32, 32, 32});
  fill(*node, shape);
  return node;
}

TestMasks::TestMasks(const SbVec3i32& size) : dimensions(size) {
  new Answers(this);
}

TestMasks::~TestMasks() {
  for (Mask& mask : masks) mask.data->setVolumeNode(nullptr);
}

TestMasks::Mask& TestMasks::add(const QString& name, const McColor& color, const Shape& shape) {
  Mask mask;
  mask.node = newNode(dimensions, shape);
  mask.data = new HxVolumeData(mask.node.get(), name);
  mask.color = color;
  masks.push_back(mask);
  return masks.back();
}

TestMasks::Mask& TestMasks::named(const QString& name) {
  for (Mask& mask : masks)
    if (mask.data->getLabel() == name) return mask;
  throw std::out_of_range(name.toStdString());
}
