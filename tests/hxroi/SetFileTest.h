#pragma once

#include <fstream>
#include <iterator>

#include "RoisTest.h"
#include "hxroi/details/Roi.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/kernel/params/HxParamBundle.h"

namespace fs = boost::filesystem;

inline std::string contentOf(const fs::path& file) {
  std::ifstream stream(file.string(), std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// A ROI set with a place for its file.
class SetFileTest : public RoisTest {
protected:
  SetFileTest() : file(folder / "set.ROIs.qm"), masks(folder / "set.ROIs-masks") {}

  /// Two masks and a group of two.
  void fillSet() {
    fill(*addMask("A"), {0, 0, 0}, {5, 5, 5});
    const auto group = makeGroup("G", {"B", "C"});
    fill(*group->getMask("B"), {3, 3, 3}, {2, 3, 4});
    rois->addRoi(group);
    fill(*addMask("D"), {12, 10, 6}, {1, 1, 1});
  }

  int save() { return rois->writeQuarnMesh(file.c_str()); }

  /// A fresh set from `from`, with what the reader answered.
  McHandle<HxRois> load(const fs::path& from, int expected = 1) {
    const auto mesh = QuarnMesh::read(QString::fromStdString(from.string()));
    const McHandle<HxRois> loaded(new HxRois);
    loaded->setLabel("loaded");
    QString name;
    EXPECT_EQ(loaded->readQuarnMesh(mesh.get(), from.c_str(), name), expected) << console.consoleText();
    return loaded;
  }

  std::vector<std::string> names(const HxRois& set) {
    std::vector<std::string> all;
    for (const auto& roi : set) all.push_back(roi->name());
    return all;
  }

  fs::path file;
  fs::path masks;
};
