#pragma once

#include <memory>

class HxParamBundle;

namespace hxroi {

namespace details {
class Group;
class Mask;
class Roi;
}  // namespace details

/// ROIs as bundles of parameters, apart from their voxels: "__color", "Id" and the parameters of the user.
namespace RoiDescription {

/// The bundle of a mask; where its voxels are is left to the caller.
std::unique_ptr<HxParamBundle> of(const details::Mask& mask);

/// The bundle of a group without its members. Parameters that would be taken for a member are left out, which the
/// console tells.
std::unique_ptr<HxParamBundle> of(const details::Group& group);

/// The bundle without those of member masks.
HxParamBundle withoutMembers(const HxParamBundle& group);

/// Gives a ROI what its bundle tells. What only the file needs does not become a parameter.
void apply(const HxParamBundle& description, details::Roi& roi);

}  // namespace RoiDescription

}  // namespace hxroi
