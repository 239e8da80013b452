#include "quarn/kernel/objects/HxCompModule.h"

#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/objects/detail/HxEvaluation.h"

MC_ABSTRACT_CLASS_IMPL(HxCompModule, HxObject)

HxCompModule::HxCompModule(McType dataType) : dataConnection(this, "data", "Data", dataType) {}

HxCompModule::~HxCompModule() = default;

HxData* HxCompModule::resultObject(int slot) const {
  const HxResultSlot* found = findResultSlot(slot);
  return found ? found->object() : nullptr;
}

const HxResultSlot* HxCompModule::findResultSlot(int slot) const {
  const auto found = slots_.find(slot);
  return found == slots_.end() ? nullptr : &found->second;
}

void HxCompModule::setResult(int slot, HxData* data, unsigned int flags) {
  HxResultSlot& place = slots_[slot];
  const McHandle<HxData> former = place.object_;
  if (former && former != data) former->baseConnection.disconnect();
  place = HxResultSlot();
  if (!data) return;

  place.object_ = data;
  data->baseConnection.connect(this);
  data->touch(flags);
  place.touchTime_ = data->getTouchTime();
  if (isInPool() && !data->isInPool()) HxObjectPool::instance().add(data, resultName(*data));
  quarn::detail::HxEvaluation::fireAfter(*this, *data);
}

void HxCompModule::dropResult(const HxData* data) {
  for (auto& [number, slot] : slots_) {
    if (slot.object_ == data) slot = HxResultSlot();
  }
}

QString HxCompModule::resultName(const HxData& data) const {
  if (!data.getLabel().isEmpty()) return data.getLabel();
  QString kind = QString::fromStdString(data.getTypeId().getName());
  if (kind.startsWith("Hx")) kind.remove(0, 2);
  const HxObject* input = dataConnection.source();
  return input && !input->getLabel().isEmpty() ? input->getLabel() + "-" + kind : kind;
}
