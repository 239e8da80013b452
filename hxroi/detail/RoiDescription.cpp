#include "hxroi/detail/RoiDescription.h"

#include <algorithm>
#include <string>

#include "hxroi/detail/SetFileLayout.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/Roi.h"
#include "quarn/base/McColor.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/params/HxParamBundle.h"

namespace hxroi::RoiDescription {

using details::Group;
using details::Mask;
using details::Roi;

namespace {

std::unique_ptr<HxParamBundle> describe(const Roi& roi) {
  auto bundle = std::make_unique<HxParamBundle>(roi.name());
  bundle->copy(roi.parameters());
  const McColor color = roi.color(true);
  const float rgb[] = {color.r, color.g, color.b};
  bundle->set(setfile::kColor, 3, rgb);
  bundle->set(setfile::kId, roi.id());
  return bundle;
}

/// What becomes of a parameter that the description of a group cannot hold.
void warnLeftOut(const Group& group, const HxParamBase& parameter, const char* reason) {
  HxMessage::printf("Group %s: parameter \"%s\" is left out of the file: %s", group.name().c_str(),
                    parameter.name().c_str(), reason);
}

/// Takes the parameters of a user out of the description of a group that would be read back as its members, or make a
/// mask of it.
void removeAmbiguous(HxParamBundle& bundle, const Group& group) {
  for (int i = bundle.size() - 1; i >= 0; --i) {
    const HxParamBase& element = *bundle[i];
    const auto* inner = dynamic_cast<const HxParamBundle*>(&element);
    const char* reason = nullptr;
    if (std::any_of(group.begin(), group.end(), Roi::EqualName(element.name()))) {
      reason = "a member of the group has its name";
    } else if (element.name() == setfile::kFilename || (inner && inner->findBase(setfile::kFilename))) {
      reason = "it would be read as a mask";
    }
    if (!reason) continue;
    warnLeftOut(group, element, reason);
    bundle.remove(i);
  }
}

}  // namespace

std::unique_ptr<HxParamBundle> of(const Mask& mask) {
  return describe(mask);
}

std::unique_ptr<HxParamBundle> of(const Group& group) {
  auto bundle = describe(group);
  removeAmbiguous(*bundle, group);
  return bundle;
}

HxParamBundle withoutMembers(const HxParamBundle& group) {
  HxParamBundle rest = group;
  for (const HxParamBundle* member : setfile::subBundles(group)) {
    if (setfile::describesMask(*member)) rest.remove(member->name());
  }
  return rest;
}

void apply(const HxParamBundle& description, Roi& roi) {
  HxParamBundle attributes = description;
  float rgb[3];
  if (attributes.findReals(setfile::kColor, 3, rgb)) roi.setColor(McColor(rgb[0], rgb[1], rgb[2]));
  std::string id = roi.id();
  attributes.findString(setfile::kId, id);
  for (const char* name : {setfile::kFilename, setfile::kColor, setfile::kId}) attributes.remove(name);
  roi.parameters().copy(attributes);
  roi.setId(id);
}

}  // namespace hxroi::RoiDescription
