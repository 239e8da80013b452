#include <QCoreApplication>
#include <memory>

#include "hxroi/HxRois.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/params/HxParamBundle.h"

using hxroi::details::Group;
using hxroi::details::Mask;
using hxroi::details::Roi;

namespace {

std::vector<std::string> joined(const std::string& first, const std::vector<std::string>& rest) {
  std::vector<std::string> names{first};
  names.insert(names.end(), rest.begin(), rest.end());
  return names;
}

}  // namespace

const Mask& HxRois::namedMask(const std::string& name) const {
  if (const Mask* mask = getMask(name)) return *mask;
  throw hxException(QCoreApplication::translate("HxRois", "%1 does not contains a mask named %2.")
                        .arg(getLabel(), QString::fromLatin1(name)));
}

std::vector<const Mask*> HxRois::namedMasks(const std::vector<std::string>& names) const {
  if (names.empty()) namedMask({});
  std::vector<const Mask*> found;
  for (const std::string& name : names) found.push_back(&namedMask(name));
  return found;
}

Mask* HxRois::mergeMasks(const std::string& targetName, const std::vector<std::string>& names) const {
  return mergeNamedMasks(joined(targetName, names));
}

Mask* HxRois::substractMasks(const std::string& fromName, const std::vector<std::string>& names) const {
  return substractNamedMasks(joined(fromName, names));
}

Mask* HxRois::mergeNamedMasks(const std::vector<std::string>& names) const {
  const auto masks = namedMasks(names);
  auto result = std::make_unique<Mask>(getUniqueName(names.front() + "-merged"), *masks.front());
  for (std::size_t i = 1; i < masks.size(); ++i) {
    *result |= *masks[i];
    result->mergeParameters(*masks[i], true);
  }
  return result.release();
}

Mask* HxRois::substractNamedMasks(const std::vector<std::string>& names) const {
  const auto masks = namedMasks(names);
  auto result = std::make_unique<Mask>(getUniqueName(names.front() + "-substracted"), *masks.front());
  for (std::size_t i = 1; i < masks.size(); ++i) *result -= *masks[i];
  return result.release();
}

void HxRois::copyAllMasksFrom(HxRois* other) {
  const HxParamBundle* materials = other->parameters.getMaterials(0);
  const RoiList all = other->rois_;
  for (const RoiHandle& roi : all) copyAllMasksFrom(roi, materials);
}

void HxRois::copyAllMasksFrom(const Roi* roi, const HxParamBundle* materials) {
  const auto copyMask = [this, materials](const Mask& mask) {
    const std::string name = mask.name();
    if (getRoi(name)) return;
    const McHandle<Mask> copy(new Mask(name, mask));
    addRoi(copy);
    const HxParamBundle* record = materials ? materials->getBundle(name) : nullptr;
    if (record) copyBundle(record);
  };
  if (const auto* mask = dynamic_cast<const Mask*>(roi)) copyMask(*mask);
  if (const auto* group = dynamic_cast<const Group*>(roi)) {
    for (const Mask& member : *group) copyMask(member);
  }
}

void HxRois::copyBundle(const HxParamBundle* bundle) {
  parameters.getMaterials(1)->getBundle(bundle->name(), true)->copy(*bundle);
}
