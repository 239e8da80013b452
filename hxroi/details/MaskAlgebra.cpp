#include <queue>
#include <utility>

#include "hxroi/details/EditTransaction.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/toolkitBoxes.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace hxroi::details {

using hxvoxora::TruthTable;

McBox3i Mask::knownBox() const {
  if (const auto box = cachedBoundingBox()) return *box;
  if (const auto box = cachedApproximatedBoundingBox()) return *box;
  return wholeMaskBox();
}

/// this = f(this, other) inside `region`, as a writable view of it would do: other files first, boxes forgotten last.
void Mask::combine(const McBox3i& region, const Mask& other, TruthTable f) {
  saveMaskToTemporary();
  const SbBox3i32 box = toToolkit(intersection(region, wholeMaskBox()));
  inTransaction(*m_volumeMask, m_editMutex, [&] { m_volumeMask->combineBox(box, *other.m_volumeMask, f); });
  touch(8);
}

Mask& Mask::operator-=(const Mask& other) {
  const McBox3i a = knownBox();
  const McBox3i common = intersection(a, other.knownBox());
  if (common.isEmpty()) return *this;
  combine(common, other, TruthTable::AndNot);
  setApproximatedBoundingBox(a);
  return *this;
}

Mask& Mask::operator^=(const Mask& other) {
  const McBox3i a = knownBox();
  const McBox3i b = other.knownBox();
  if (b.isEmpty()) return *this;
  combine(b, other, TruthTable::Xor);
  setApproximatedBoundingBox(extended(a, b));
  return *this;
}

Mask& Mask::operator|=(const Mask& other) {
  const bool areExact = cachedBoundingBox() && other.cachedBoundingBox();
  const McBox3i a = knownBox();
  const McBox3i b = other.knownBox();
  if (b.isEmpty()) return *this;
  combine(b, other, TruthTable::Or);
  if (areExact) {
    setBoundingBox(extended(a, b));
  } else {
    setApproximatedBoundingBox(extended(a, b));
  }
  return *this;
}

Mask& Mask::operator&=(const Mask& other) {
  const McBox3i a = knownBox();
  const McBox3i b = other.knownBox();
  const McBox3i common = intersection(a, b);
  if (common.isEmpty()) return *this = false;
  combine(extended(a, b), other, TruthTable::And);
  setApproximatedBoundingBox(common);
  return *this;
}

/// The result is a named local that is returned as it is: a copy of it would share a node that goes with it.
Mask Mask::operator-(const Mask& other) const {
  Mask result(name() + "-minus-" + other.name(), *this);
  result -= other;
  return result;
}

Mask Mask::operator^(const Mask& other) const {
  Mask result(name() + "-xor-" + other.name(), *this);
  result ^= other;
  return result;
}

Mask Mask::operator|(const Mask& other) const {
  Mask result(name() + "-or-" + other.name(), *this);
  result |= other;
  return result;
}

Mask Mask::operator&(const Mask& other) const {
  Mask result(name() + "-and-" + other.name(), *this);
  result &= other;
  return result;
}

Mask& Mask::negate() {
  saveMaskToTemporary();
  const SbBox3i32 whole = toToolkit(wholeMaskBox());
  inTransaction(*m_volumeMask, m_editMutex, [&] { m_volumeMask->invertBox(whole); });
  touch(8);
  return *this;
}

void Mask::mergeParameters(const Mask& other, bool recursive) {
  std::queue<std::pair<const HxParamBundle*, HxParamBundle*>> pairs;
  pairs.emplace(&other.parameters(), &parameters());
  for (; !pairs.empty(); pairs.pop()) {
    const auto [source, target] = pairs.front();
    for (int i = 0; i < source->size(); ++i) {
      HxParamBase* element = (*source)[i];
      HxParamBase* present = target->findBase(element->name());
      if (!present) {
        target->insert(element->clone());
      } else if (recursive && element->isBundle() && present->isBundle()) {
        pairs.emplace(static_cast<HxParamBundle*>(element), static_cast<HxParamBundle*>(present));
      }
    }
  }
}

}  // namespace hxroi::details
