#pragma once

#include <initializer_list>
#include <map>
#include <string>
#include <vector>

#include "EnvironmentScope.h"
#include "SetFileTest.h"
#include "legacyFiles.h"
#include "quarn/voxora/files/FileSystem.h"

/// Replacing legacy sets without asking, while the object lives.
class ReplacingScope {
public:
  ReplacingScope() { HxRois::replaceExistingROIsWhenUpgrading(true); }
  ~ReplacingScope() { HxRois::replaceExistingROIsWhenUpgrading(false); }
  ReplacingScope(const ReplacingScope&) = delete;
  ReplacingScope& operator=(const ReplacingScope&) = delete;
};

/// A ROI set on disk, some of whose masks have files of the older layout.
class LegacySetTest : public SetFileTest {
protected:
  using Voxels = BorderedVolume::Voxels;

  /// Saves the set, brings the files of the named masks to the older layout, and remembers what is in them all.
  void saveLegacy(std::initializer_list<std::string> names) {
    ASSERT_EQ(save(), 1);
    for (const std::string& name : names) makeLegacy(*rois->getMask(name), masks / name);
    for (const Mask* mask : rois->masks()) expected[mask->name()] = voxelsOf(*mask);
    console.clear();
  }

  /// A set with all that a legacy one may have: masks and a group, all of the older layout.
  void makeLegacySet() {
    fillSet();
    saveLegacy({"A", "B", "C", "D"});
  }

  bool isLegacy(const path& masksDir, const std::string& name) const {
    return rois->hasBorders((masksDir / (name + ".ldm")).string());
  }

  void expectWhole(const HxRois& loaded) const {
    EXPECT_EQ(loaded.getNumberOfMasks(), expected.size());
    for (const auto& [name, voxels] : expected) {
      const Mask* mask = loaded.getMask(name);
      EXPECT_TRUE(mask && voxelsOf(*mask) == voxels) << name;
      EXPECT_TRUE(mask && mask->id() == rois->getMask(name)->id()) << name;
    }
  }

  /// Contents of all files below a folder, by their path in it; without locks.
  static std::map<std::string, std::string> filesBelow(const path& directory) {
    std::map<std::string, std::string> contents;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
      const path name = entry.path().lexically_relative(directory);
      if (name.begin()->string() == "temporary" || name.filename().string().starts_with(".")) continue;
      contents[name.string()] = fs::is_regular_file(entry.path()) ? contentOf(entry.path()) : "folder";
    }
    return contents;
  }

  std::vector<std::string> namesIn(const path& directory) const {
    std::vector<std::string> all;
    for (const auto& entry : fs::directory_iterator(directory)) {
      const std::string name = entry.path().filename().string();
      if (name != "temporary") all.push_back(name);
    }
    std::sort(all.begin(), all.end());
    return all;
  }

  /// Reads the file as the host does; the name that the set is to get.
  McHandle<HxRois> open(const path& from, int result = 1) {
    const auto mesh = QuarnMesh::read(QString::fromStdString(from.string()));
    const McHandle<HxRois> loaded(new HxRois);
    registerName = QString::fromStdString(from.filename().string());
    EXPECT_EQ(loaded->readQuarnMesh(mesh.get(), from.c_str(), registerName), result) << console.consoleText();
    return loaded;
  }

  std::map<std::string, Voxels> expected;  ///< voxels of each mask
  QString registerName;
};
