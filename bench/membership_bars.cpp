#include <memory>
#include <string>
#include <vector>

#include "bench/bars.h"
#include "bench/contest.h"
#include "hxroi/HxRois.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"

/// ROIs that enter a set, get other names and leave it.

namespace bench {

namespace {

using hxroi::details::Group;
using hxroi::details::Mask;
using hxroi::details::Roi;

constexpr int kMasks = 100;
constexpr int kGroups = 50;

/// As many masks as a set may hold, half of them members of a group each.
struct Company {
  std::vector<McHandle<Roi>> topLevel;
  std::vector<McHandle<Roi>> all;

  Company() {
    const McVec3i grid(4096, 4096, 4096);
    for (int i = 0; i < kMasks; ++i) {
      const McHandle<Mask> mask(new Mask("mask" + std::to_string(i), grid, false, McColor(1, 0, 0), nullptr));
      all.emplace_back(mask);
      if (i >= kGroups) {
        topLevel.emplace_back(mask);
        continue;
      }
      const McHandle<Group> group(new Group("group" + std::to_string(i), McColor(0, 1, 0), nullptr));
      group->addMask(mask);
      topLevel.emplace_back(group);
      all.emplace_back(group);
    }
  }
};

void comeAndGo(HxRois& rois, const Company& company, int& round) {
  for (const auto& roi : company.topLevel) rois.addRoi(roi);
  rois.fire(1);
  const std::string stem = "round" + std::to_string(++round) + "-";
  int number = 0;
  for (const auto& roi : company.all) roi->setName(stem + std::to_string(number++));
  rois.fire(1);
  rois.removeAllRois();
  rois.fire(1);
}

}  // namespace

void addMembershipBars() {
  addContest("100 masks and 50 groups in, renamed, out", "4096^3", Against::Loops, 21, [] {
    const McHandle<HxRois> rois(new HxRois);
    const auto company = std::make_shared<Company>();
    const auto run = [rois, company, round = 0]() mutable { comeAndGo(*rois, *company, round); };
    return Entrants{{"ours", 0, nullptr, run, 0}, {"goal", 1, nullptr, nullptr, 50e-3}};
  });
}

}  // namespace bench
