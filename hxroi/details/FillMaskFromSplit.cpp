#include "hxroi/details/FillMaskFromSplit.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "hxroi/details/EditTransaction.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/toolkitBoxes.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace hxroi::details {

using hxvoxora::Component;
using hxvoxora::TileSnapshot;
using hxvoxora::TruthTable;

namespace {

/// Ends the work on a mask that nobody wants any more.
struct Cancelled {};

}  // namespace

float FillMaskFromSplit::State::fraction() const {
  return static_cast<float>(filled_.load(std::memory_order_relaxed)) / static_cast<float>(total_);
}

void FillMaskFromSplit::State::fail(std::exception_ptr failure) {
  {
    const std::lock_guard lock(mutex_);
    if (!failure_) failure_ = std::move(failure);
  }
  cancel();
}

void FillMaskFromSplit::State::rethrowFailure() const {
  if (failure_) std::rethrow_exception(failure_);
}

FillMaskFromSplit::FillMaskFromSplit(const SplitComponents& split, const ComponentList& masks, State& state,
                                     Question question)
    : split_(&split), masks_(&masks), state_(&state), question_(std::move(question)) {}

void FillMaskFromSplit::operator()(int label) const {
  try {
    if (isWanted()) fill(label);
  } catch (const Cancelled&) {
    // The transaction was given up; the mask is as new.
  } catch (...) {
    state_->fail(std::current_exception());
  }
}

bool FillMaskFromSplit::isWanted() const {
  if (question_) question_(*state_);
  return !state_->isCancelled();
}

void FillMaskFromSplit::fill(int label) const {
  Mask& mask = maskOf(label);
  if (label == SplitComponents::kRestLabel) {
    fillRest(mask);
    mask.setApproximatedBoundingBox(split_->box);
  } else {
    const Component& component = split_->component(label);
    fillComponent(mask, component);
    mask.setBoundingBox(fromToolkit(component.box));
  }
  if (mask.flush(Mask::AllLevels, [this](double) { return isWanted(); })) state_->countFilled();
}

void FillMaskFromSplit::fillComponent(Mask& mask, const Component& component) const {
  const TileSnapshot content = contentOf(component);
  inTransaction(*mask.m_volumeMask, mask.m_editMutex,
                [&] { mask.m_volumeMask->combineBox(component.box, content, TruthTable::CopyB); });
  mask.touch(8);
}

/// The components are worked out once more, one at a time: together they may be larger than memory.
void FillMaskFromSplit::fillRest(Mask& mask) const {
  inTransaction(*mask.m_volumeMask, mask.m_editMutex, [&] {
    mask.m_volumeMask->combineBox(toToolkit(split_->box), split_->content, TruthTable::CopyB);
    for (const Component& component : split_->components) {
      mask.m_volumeMask->combineBox(component.box, contentOf(component), TruthTable::AndNot);
    }
  });
  mask.touch(8);
}

TileSnapshot FillMaskFromSplit::contentOf(const Component& component) const {
  auto content = split_->contentOf(component, [this](double) { return isWanted(); });
  if (!content) throw Cancelled();
  return *std::move(content);
}

Mask& FillMaskFromSplit::maskOf(int label) const {
  const auto found =
      std::find_if(masks_->begin(), masks_->end(), [label](const auto& entry) { return std::get<0>(entry) == label; });
  return *std::get<1>(*found);
}

}  // namespace hxroi::details
