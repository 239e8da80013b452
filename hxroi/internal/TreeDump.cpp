#include <cstdio>
#include <string>

#include "hxroi/HxRois.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeModel.h"

using hxroi::details::Group;
using hxroi::details::Mask;

namespace {

constexpr const char* kRule = "//////////////////////////////\n";

void print(const char* kind, const QxRoiTreeItem& item) {
  std::fprintf(stderr, "%s%s\n", kind, item.getName().toLatin1().constData());
}

}  // namespace

void QxRoiTreeModel::printModel() const {
  std::fputs(kRule, stderr);
  if (const QxRoiTreeItem* root = getRoot()) {
    for (const QxRoiTreeItem* item : root->children()) {
      if (item->isMask()) print("Mask ", *item);
      if (!item->isGroup()) continue;
      print("Group ", *item);
      for (const QxRoiTreeItem* child : item->children()) print("\tMask  ", *child);
    }
  }
  std::fputs(kRule, stderr);
}

void QxRoiTreeModel::printHxRois(HxRois* rois) {
  std::fputs(kRule, stderr);
  if (rois) {
    for (const auto& roi : *rois) {
      if (const auto* group = dynamic_cast<const Group*>(roi.get())) {
        std::fprintf(stderr, "Group %s : \n", group->name().c_str());
        for (const Mask& mask : *group) std::fprintf(stderr, "\tMask %s : \n", mask.name().c_str());
      } else if (const auto* mask = dynamic_cast<const Mask*>(roi.get())) {
        std::fprintf(stderr, "Mask %s : \n", mask->name().c_str());
      }
    }
  }
  std::fprintf(stderr, "%s\n", kRule);
}
