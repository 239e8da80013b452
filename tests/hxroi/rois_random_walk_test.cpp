#include <algorithm>
#include <array>
#include <functional>

#include "RoisTest.h"
#include "hxroi/HxRoiToHxVolumeDataRegistry.h"
#include "tests/voxora/RandomSource.h"

using ::testing::UnorderedElementsAreArray;

namespace {

/// Two sets with ROIs in common, changed at random; what must always hold is looked at after each step.
class RoisRandomWalk : public RoisTest {
protected:
  /// Everything that a refused change must leave as it was. The order in which masks were accepted is no part of it: a
  /// ROI that is put back is accepted anew.
  struct State {
    std::vector<std::vector<const Roi*>> topLevel;
    std::vector<std::multiset<const Mask*>> masks;
    std::vector<bool> hasGrid;
    std::vector<std::vector<const Mask*>> members;
    std::vector<std::string> names;
    std::vector<Roi::Owners> owners;
    std::vector<const Group*> parents;
    bool operator==(const State&) const = default;
  };

  RoisRandomWalk() {
    sets = {rois, new HxRois};
    sets[1]->setLabel("second");
    for (int i = 0; i < 14; ++i) masks.push_back(makeMask("m" + std::to_string(i), gridOf(i)));
    for (int i = 0; i < 4; ++i) groups.push_back(makeGroup("g" + std::to_string(i)));
  }

  /// Most masks have one grid, a few another.
  static McVec3i gridOf(int i) { return i % 5 == 4 ? McVec3i(5, 6, 7) : McVec3i(13, 11, 7); }

  std::vector<Roi*> allRois() const {
    std::vector<Roi*> all;
    for (const auto& mask : masks) all.push_back(mask);
    for (const auto& group : groups) all.push_back(group);
    return all;
  }

  State state() const {
    State state;
    for (const auto& set : sets) {
      state.topLevel.emplace_back();
      for (const auto& roi : *set) state.topLevel.back().push_back(roi);
      state.masks.emplace_back(set->masks().begin(), set->masks().end());
      state.hasGrid.push_back(!set->masks().empty());
    }
    for (const auto& group : groups) {
      state.members.emplace_back();
      for (const Mask& member : *group) state.members.back().push_back(&member);
    }
    for (const Roi* roi : allRois()) {
      state.names.push_back(roi->name());
      state.owners.push_back(roi->owners());
      state.parents.push_back(roi->parent());
    }
    return state;
  }

  Mask* anyMask() { return masks[random.between<std::size_t>(0, masks.size() - 1)]; }
  Group* anyGroup() { return groups[random.between<std::size_t>(0, groups.size() - 1)]; }
  HxRois* anySet() { return sets[random.between<std::size_t>(0, 1)]; }
  Roi* anyRoi() { return random.chance(0.7) ? static_cast<Roi*>(anyMask()) : anyGroup(); }
  std::string anyName() { return (random.chance(0.7) ? "m" : "g") + std::to_string(random.between(0, 16)); }
  unsigned long anyPlace() { return random.between<unsigned long>(0, 20); }

  /// A new name is asked of one set after the other, and those asked before a refusal keep it.
  bool isFreeEverywhere(const Roi& roi, const std::string& name) const {
    return std::none_of(roi.owners().begin(), roi.owners().end(),
                        [&](const HxRois* set) { return set->getRoi(name) != nullptr; });
  }

  void rename() {
    Roi* roi = anyRoi();
    const std::string name = anyName();
    if (roi->owners().size() < 2 || isFreeEverywhere(*roi, name)) roi->setName(name);
  }

  void step() {
    const std::array<std::function<void()>, 14> steps{
        [&] { anySet()->addRoi(anyRoi()); },
        [&] { anySet()->insertRoi(anyRoi(), anyPlace()); },
        [&] { anySet()->addRoi(anyMask()); },
        [&] { anySet()->removeRoi(anyName()); },
        [&] { anySet()->replaceRoi(anyName(), anyRoi()); },
        [&] { rename(); },
        [&] { anyGroup()->addMask(anyMask()); },
        [&] { anyGroup()->insertMask(anyMask(), anyPlace()); },
        [&] { anyGroup()->removeMask(anyName()); },
        [&] { anyGroup()->replaceMask(anyName(), anyMask()); },
        [&] { anyGroup()->clear(); },
        [&] {
          HxRois* set = anySet();
          set->fire(1);
          checkPorts(*set);
        },
        [&] { anyRoi()->setColor(McColor(static_cast<float>(random.between(0, 8)) / 8, 0.5F, 1)); },
        [&] {
          if (random.chance(0.05)) anySet()->removeAllRois();
        }};
    steps[random.between<std::size_t>(0, steps.size() - 1)]();
  }

  /// Every ROI that belongs to a set: the entries and their members.
  static std::vector<Roi*> belongingTo(const HxRois& set) {
    std::vector<Roi*> all;
    for (const auto& roi : set) {
      all.push_back(roi);
      if (auto* group = dynamic_cast<Group*>(roi.get()))
        for (Mask& member : *group) all.push_back(&member);
    }
    return all;
  }

  static bool hasDimensions(const HxRois& set) {
    try {
      set.dimensions();
      return true;
    } catch (const McException&) {
      return false;
    }
  }

  void checkSet(HxRois& set) const {
    const std::vector<Roi*> belonging = belongingTo(set);
    std::set<std::string> names;
    std::vector<const Mask*> expected;
    for (Roi* roi : belonging) {
      EXPECT_TRUE(names.insert(roi->name()).second) << roi->name() << " twice";
      EXPECT_EQ(set.getRoi(roi->name()), roi);
      EXPECT_FALSE(set.isNameUnique(roi->name()));
      if (const auto* mask = dynamic_cast<const Mask*>(roi)) expected.push_back(mask);
    }
    EXPECT_EQ(set.getNumberOfRois(), static_cast<std::size_t>(std::distance(set.begin(), set.end())));
    EXPECT_THAT(std::vector<const Mask*>(set.masks().begin(), set.masks().end()), UnorderedElementsAreArray(expected));
    EXPECT_EQ(set.getNumberOfMasks(), expected.size());
    for (const Mask* mask : expected) EXPECT_EQ(mask->dimensions(), set.dimensions());
    EXPECT_EQ(hasDimensions(set), !expected.empty());
    for (Roi* roi : allRois()) {
      const bool belongs = std::find(belonging.begin(), belonging.end(), roi) != belonging.end();
      EXPECT_EQ(set.containsRoi(roi), belongs) << roi->name();
      EXPECT_EQ(roi->owners().count(&set) == 1, belongs) << roi->name();
    }
    checkRegistry(set, expected);
  }

  /// After an evaluation every ROI has its two ports, which show its colour.
  static void checkPorts(const HxRois& set) {
    std::vector<std::string> expected, found;
    for (const Roi* roi : belongingTo(set)) {
      expected.push_back("color-" + roi->name());
      expected.push_back("colormap-" + roi->name());
      const auto* port =
          dynamic_cast<const HxPortColorList*>(set.findPort(QString::fromStdString("color-" + roi->name())));
      ASSERT_TRUE(port) << roi->name();
      EXPECT_EQ(port->getColor(0), roi->color(false));
    }
    for (const HxPort* port : set.ports()) {
      if (port->getName().startsWith("color")) found.push_back(port->getName().toStdString());
    }
    EXPECT_THAT(found, UnorderedElementsAreArray(expected));
  }

  static void checkRegistry(HxRois& set, const std::vector<const Mask*>& expected) {
    std::vector<const Mask*> registered;
    for (const auto& entry : HxRoiToHxVolumeDataRegistry::getBimapMaskVolumeData(&set).left) {
      registered.push_back(entry.first);
      EXPECT_EQ(entry.second->getLabel().toStdString(), entry.first->name());
      EXPECT_EQ(entry.second->getVolumeNode(), entry.first->volumeMask());
    }
    EXPECT_THAT(registered, UnorderedElementsAreArray(expected));
  }

  RandomSource random;
  std::array<McHandle<HxRois>, 2> sets;
  std::vector<McHandle<Mask>> masks;
  std::vector<McHandle<Group>> groups;
};

TEST_F(RoisRandomWalk, TwoSetsWithRoisInCommon) {
  int done = 0, refused = 0;
  for (int i = 0; i < 4000 && !HasFailure(); ++i) {
    SCOPED_TRACE("step " + std::to_string(i));
    const State before = state();
    try {
      step();
      ++done;
    } catch (const McException& refusal) {
      ++refused;
      EXPECT_TRUE(state() == before) << "after the refusal: " << refusal.what();
    }
    for (const auto& set : sets) checkSet(*set);
  }
  EXPECT_GT(done, 500);
  EXPECT_GT(refused, 500);
}

}  // namespace
