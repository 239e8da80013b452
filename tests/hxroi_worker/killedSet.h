#pragma once

#include <cstdint>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McColor.h"
#include "quarn/base/McHandle.h"
#include "tests/hxroi_worker/randomMask.h"

/// The ROI sets of processes that are killed: everything in them follows from one number, for the process that makes
/// them and for the test that looks at what is left.
namespace killedset {

using hxroi::details::Group;
using hxroi::details::Mask;
using hxroi::details::Roi;

inline constexpr int kMasks = 4;

inline std::string name(const char* stem, int i) {
  return stem + std::to_string(i);
}

inline McColor color(int number, int i) {
  return {static_cast<float>(number % 7) / 8, static_cast<float>(i) / 8, 0.5F};
}

inline std::vector<bool> bits(int number, int mask) {
  std::mt19937 random(static_cast<std::uint32_t>(number * kMasks + mask));
  return randommask::bits(random);
}

inline void setBits(Mask& mask, const std::vector<bool>& all) {
  auto view = mask.getBox({0, 0, 0}, randommask::kGrid, hxroi::AccessMode::WriteOnly);
  std::copy(all.begin(), all.end(), view.begin());
}

inline McHandle<Mask> makeMask(int number, int i) {
  McHandle<Mask> mask(new Mask(name("M", i), randommask::kGrid, false, color(number, i), nullptr));
  mask->setId(name("id", i));
  mask->parameters().set("Note", name("n", number));
  setBits(*mask, bits(number, i));
  return mask;
}

/// A set of this number: two masks, and a group of two before or behind them.
inline McHandle<HxRois> make(int number) {
  McHandle<HxRois> set(new HxRois);
  set->setLabel("set");
  const McHandle<Group> group(new Group("G", color(number, kMasks), nullptr));
  group->setId("idG");
  for (int i = 2; i < kMasks; ++i) group->addMask(makeMask(number, i));
  if (number % 2 == 0) set->addRoi(group);
  for (int i = 0; i < 2; ++i) set->addRoi(makeMask(number, i));
  if (number % 2 != 0) set->addRoi(group);
  set->parameters.set("Number", number);
  return set;
}

/// The number of a set; -1 without one.
inline int numberOf(const HxRois& set) {
  int number = -1;
  set.parameters.findNum("Number", number);
  return number;
}

/// Exchanges names so that the next number is reached: of two masks, or of three in turn. The voxels stay.
inline void renameNext(HxRois& set) {
  const int number = numberOf(set) + 1;
  const int turned = number % 2 == 0 ? 2 : 3;
  std::vector<Mask*> masks;
  for (int i = 0; i < turned; ++i) masks.push_back(set.getMask(name("M", i)));
  for (int i = 0; i < turned; ++i) masks[static_cast<std::size_t>(i)]->setName(name("away", i));
  for (int i = 0; i < turned; ++i) masks[static_cast<std::size_t>(i)]->setName(name("M", (i + 1) % turned));
  set.parameters.set("Number", number);
}

inline std::uint64_t digestOf(const Mask& mask) {
  std::uint64_t digest = 1469598103934665603U;
  for (const bool bit : mask.getConstBox()) digest = (digest ^ (bit ? 2U : 1U)) * 1099511628211U;
  return digest;
}

inline void describe(const Roi& roi, std::ostream& text) {
  std::string note;
  roi.parameters().findString("Note", note);
  const McColor shown = roi.color(true);
  text << roi.name() << ' ' << roi.id() << ' ' << shown.r << ' ' << shown.g << ' ' << shown.b << ' ' << note;
  if (const auto* mask = dynamic_cast<const Mask*>(&roi)) text << ' ' << std::hex << digestOf(*mask) << std::dec;
  text << '\n';
}

/// All that is saved of a set, in its order: names, identifiers, colours, groups, parameters, voxels.
inline std::string describe(const HxRois& set) {
  std::ostringstream text;
  text << "Number " << numberOf(set) << '\n';
  for (const auto& roi : set) {
    describe(*roi, text);
    const auto* group = dynamic_cast<const Group*>(roi.get());
    if (!group) continue;
    for (const Mask& member : *group) describe(member, text << "  ");
  }
  return text.str();
}

}  // namespace killedset
