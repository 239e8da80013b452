#pragma once

#include <QCryptographicHash>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "SetFileTest.h"
#include "hxroi/details/LeftOvers.h"
#include "hxroi/details/TemporaryFolder.h"

/// ROI sets on disk, compared by everything that is saved of them.
class SetStateTest : public SetFileTest {
protected:
  /// A line for each ROI and for the set: name, identifier, colour, note and a digest of the voxels.
  using State = std::map<std::string, std::string>;

  static std::string voxelDigest(const Mask& mask) {
    QByteArray bits;
    for (const bool bit : mask.getConstBox()) bits.append(bit ? '1' : '0');
    return QCryptographicHash::hash(bits, QCryptographicHash::Sha1).toHex().toStdString();
  }

  static std::string noteOf(const HxParamBundle& parameters) {
    std::string note;
    parameters.findString("Note", note);
    return note;
  }

  static std::string lineOf(const Roi& roi, const std::string& more) {
    std::ostringstream line;
    const McColor color = roi.color(true);
    line << roi.id() << ' ' << color.r << ' ' << color.g << ' ' << color.b << " \"" << noteOf(roi.parameters()) << "\" "
         << more;
    return line.str();
  }

  static State stateOf(const HxRois& set) {
    State state;
    std::string order;
    for (const auto& roi : set) {
      order += roi->name() + " ";
      if (const auto* group = dynamic_cast<const Group*>(roi.get())) {
        std::string members;
        for (const Mask& member : *group) members += member.name() + " ";
        state[roi->name()] = lineOf(*roi, members);
      }
    }
    for (const Mask* mask : set.masks()) state[mask->name()] = lineOf(*mask, voxelDigest(*mask));
    state["(set)"] = noteOf(set.parameters) + ": " + order;
    return state;
  }

  /// What a program that starts now would load; empty when there is no set.
  State stateOnDisk() {
    if (!fs::exists(file)) return {};
    return stateOf(*load(file));
  }

  /// Everything beside the set file and in the masks folder that is not a file of these masks.
  std::vector<std::string> litter(const std::vector<std::string>& maskNames) const {
    std::set<std::string> known{".lock", ".turn"};
    for (const std::string& name : maskNames) {
      for (const char* extension : {".ldm", ".dat", ".fcp"}) known.insert(name + extension);
    }
    std::vector<std::string> rest;
    for (const auto& entry : fs::directory_iterator(folder)) {
      const std::string name = entry.path().filename().string();
      if (name != "temporary" && entry.path() != file && entry.path() != masks) rest.push_back(name);
    }
    if (!fs::exists(masks)) return rest;
    for (const auto& entry : fs::recursive_directory_iterator(masks)) {
      const std::string name = entry.path().filename().string();
      if (!known.contains(name)) rest.push_back(entry.path().string());
    }
    return rest;
  }

  /// Before the current file system ends: nothing may be left that stands on it.
  void forgetEverything() {
    rois = nullptr;
    hxroi::details::TemporaryFolder::leave();
    fs::remove(file);
    fs::remove_all(masks);
  }
};
