#pragma once

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "hxroi/details/FloodFillAdapter.h"
#include "quarn/base/mcFloodFill3D.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/PassingFileSystem.h"
#include "tests/hxroi/MaskTest.h"
#include "tests/support/RecordingProgress.h"

/// Notes the questions too, among the other calls.
class AskedProgress : public RecordingProgress {
public:
  bool isInterrupted() override {
    calls.push_back("asked");
    return RecordingProgress::isInterrupted();
  }
};

/// Interrupts at a question of the save, whatever was asked before.
class SaveInterrupter : public AskedProgress {
public:
  void start(const std::string& text) override {
    AskedProgress::start(text);
    isSaving_ = text == "Saving splits";
  }
  bool isInterrupted() override {
    if (isSaving_) return AskedProgress::isInterrupted();
    calls.push_back("asked");
    return false;
  }

private:
  bool isSaving_ = false;
};

/// The switch that has several masks filled at once, while the object lives.
class ThreadSwitch {
public:
  explicit ThreadSwitch(bool on) { ::setenv(kName, on ? "1" : "0", 1); }
  ~ThreadSwitch() { ::unsetenv(kName); }

private:
  static constexpr const char* kName = "MULTI_THREADED_ROIS_CREATION";
};

/// Takes its time to make files.
class SlowFileSystem : public hxvoxora::PassingFileSystem {
public:
  explicit SlowFileSystem(std::chrono::milliseconds pause)
      : PassingFileSystem(hxvoxora::FileSystem::posix()), pause_(pause) {}

  std::unique_ptr<hxvoxora::OutputFile> createExclusively(const std::string& path, Access access) override {
    std::this_thread::sleep_for(pause_);
    return PassingFileSystem::createExclusively(path, access);
  }

private:
  const std::chrono::milliseconds pause_;
};

/// Masks to be split, and what comes of it.
class SplitTest : public MaskTest {
protected:
  using Masks = std::vector<McHandle<Mask>>;

  static constexpr const char* kComputing = "start Computing split";
  static constexpr const char* kSaving = "start Saving splits";

  /// The calls without the questions that only a slow machine asks: while it saves, and twice in a row.
  static std::vector<std::string> callsOf(const AskedProgress& progress) {
    std::vector<std::string> calls;
    bool isSaving = false;
    for (const std::string& call : progress.calls) {
      isSaving = isSaving || call == kSaving;
      if (call == "asked" && (isSaving || calls.back() == "asked")) continue;
      calls.push_back(call);
    }
    return calls;
  }

  static Masks split(const Mask& mask, unsigned long maxComponents, McProgressInterface* progress = nullptr) {
    Masks masks;
    for (Mask* piece : mask.split(maxComponents, progress)) masks.emplace_back(piece);
    return masks;
  }

  /// A mask with single voxels set.
  static McHandle<Mask> maskOf(const McVec3i& dimensions, const std::vector<McVec3i>& voxels) {
    const auto mask = makeMask(dimensions);
    for (const McVec3i& v : voxels) fill(*mask, McBox3i(v, v));
    return mask;
  }

  /// A mask of `count` single voxels that do not touch.
  static McHandle<Mask> dots(int count) {
    std::vector<McVec3i> voxels;
    for (int i = 0; i < count; ++i) voxels.emplace_back(2 * (i % 10), 2 * (i / 10 % 10), 2 * (i / 100));
    return maskOf({19, 19, 19}, voxels);
  }

  /// The labels of a mask as a flood fill over its bounding box finds them.
  struct Labels {
    McVec3i size;
    std::vector<std::uint8_t> values;  ///< x fastest
    std::map<int, McBox3i> boxes;
    int last = 1;

    std::uint8_t& at(int x, int y, int z) { return values[static_cast<std::size_t>((z * size.y + y) * size.x + x)]; }
  };

  static Labels plainLabels(const Mask& mask, unsigned long maxComponents) {
    struct Unlabelled {
      Labels& labels;
      bool operator()(int x, int y, int z) const { return labels.at(x, y, z) == 1; }
    };
    const McBox3i box = mask.getBoundingBox();
    Labels labels{hxroi::sizeOf(box), {}, {{1, hxroi::wholeBox(hxroi::sizeOf(box))}}};
    for (const bool voxel : mask.getConstBox(box.getMin(), labels.size)) labels.values.push_back(voxel ? 1 : 0);
    unsigned long left = maxComponents == 0 ? 253 : std::min(maxComponents, 253UL);
    hxroi::details::FloodFillAdapter fill(labels.size);
    for (std::size_t i = 0; i < labels.values.size() && left > 0; ++i) {
      if (labels.values[i] != 1) continue;
      const int nx = labels.size.x;
      const int ny = labels.size.y;
      const auto place = static_cast<int>(i);
      const McVec3i seed(place % nx, place / nx % ny, place / nx / ny);
      fill.clear();
      EXPECT_GT(mcFloodFill3D(labels.size, seed, fill, Unlabelled{labels}), 0U);
      labels.boxes[++labels.last] = fill.box();
      for (std::size_t k = 0; k < labels.values.size(); ++k) {
        if (fill.visited().get(k)) labels.values[k] = static_cast<std::uint8_t>(labels.last);
      }
      --left;
    }
    if (labels.last > 1) labels.boxes[1] = hxroi::emptyBox<int>();
    return labels;
  }

  /// The voxels of one label as a mask of the whole grid has them.
  static Bits bitsOf(const Labels& labels, int label, const McBox3i& box, const McVec3i& dimensions) {
    Bits bits(static_cast<std::size_t>(dimensions.x * dimensions.y * dimensions.z));
    std::size_t i = 0;
    for (int z = box[4]; z <= box[5]; ++z) {
      for (int y = box[2]; y <= box[3]; ++y) {
        for (int x = box[0]; x <= box[1]; ++x) {
          bits[static_cast<std::size_t>((z * dimensions.y + y) * dimensions.x + x)] = labels.values[i++] == label;
        }
      }
    }
    return bits;
  }
  using MaskTest::bitsOf;
};
