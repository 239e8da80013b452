#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bench/scale/Brain.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/tiles/MemoryBudget.h"
#include "quarn/voxora/utilities/utilities.h"

/// Many masks of real shapes on a large grid with little memory: what a set of ROIs goes through in a day. Prints time
/// and memory of each step as rows of a Markdown table; ends with status 1 when a promise is broken or masks that were
/// read back differ.

namespace {

using hxvoxora::makeRef;
using hxvoxora::TruthTable;
using MaskRef = hxvoxora::Ref<SoVolumeMask>;

struct Options {
  int edge = 4096;
  int masks = 20;
  std::size_t budgetMebibytes = 1024;
  std::string image = "/usr/share/mricron/templates/ch2better.nii.gz";
};

Options parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; i += 2) {
    const std::string name = argv[i];
    if (i + 1 == argc) throw std::runtime_error("unknown option " + name + ", or its value is missing");
    if (name == "--edge") {
      options.edge = std::atoi(argv[i + 1]);
    } else if (name == "--masks") {
      options.masks = std::atoi(argv[i + 1]);
    } else if (name == "--budget") {
      options.budgetMebibytes = static_cast<std::size_t>(std::atoi(argv[i + 1]));
    } else if (name == "--image") {
      options.image = argv[i + 1];
    } else {
      throw std::runtime_error("unknown option " + name);
    }
  }
  if (options.edge < 32 || options.masks < 2) throw std::runtime_error("--edge is 32 or more, --masks 2 or more");
  return options;
}

/// A line of /proc/self/status in MiB: "VmHWM" is the most memory that was in use, "VmRSS" what is now.
double mebibytesOf(const char* name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.compare(0, std::strlen(name), name) == 0) return std::atof(line.c_str() + std::strlen(name) + 1) / 1024;
  return 0;
}

class ScratchFolder {
public:
  ScratchFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "quarn-scale-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) throw std::runtime_error("cannot make the folder " + pattern);
    path_ = pattern;
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  std::string file(const std::string& name) const { return path_ + "/" + name; }
  double mebibytes() const {
    double bytes = 0;
    for (const auto& entry : std::filesystem::directory_iterator(path_))
      bytes += static_cast<double>(entry.file_size());
    return bytes / (1 << 20);
  }

private:
  std::string path_;
};

/// Runs a step and prints its row.
template <class Step>
double timed(const char* name, Step step) {
  const auto start = std::chrono::steady_clock::now();
  step();
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::printf("| %s | %.3f s | %.0f MiB | %.0f MiB | %.0f MiB |\n", name, seconds, mebibytesOf("VmRSS"),
              mebibytesOf("VmHWM"), static_cast<double>(hxvoxora::cacheStatistics().bytesSpilled) / (1 << 20));
  std::fflush(stdout);
  return seconds;
}

SbBox3i32 boxOf(const SoVolumeMask& mask) {
  const SbVec3i32 size = mask.dataDimension();
  return {{0, 0, 0}, {size[0] - 1, size[1] - 1, size[2] - 1}};
}

template <class Edit>
void edited(SoVolumeMask& mask, Edit edit) {
  const int transaction = mask.beginTransaction();
  edit();
  mask.endTransaction(transaction);
}

class Scenario {
public:
  explicit Scenario(const Options& options) : options_(options), brain_(options.image) {
    hxvoxora::setMemoryBudget(options.budgetMebibytes << 20);
    hxvoxora::setSpillPrefix(folder_.file("tiles"));
  }
  ~Scenario() {
    masks_.clear();
    hxvoxora::setSpillPrefix(std::string());
  }

  void run() {
    makeEmptyMasks();
    timed("draw all masks", [this] { drawMasks(); });
    MaskRef merged = emptyMask(), rest = emptyMask();
    timed("merge them", [&] { combineAll(*merged, TruthTable::Or); });
    timed("subtract all but the first from the first", [&] {
      edited(*rest, [&] { rest->combineBox(boxOf(*rest), *masks_[0], TruthTable::CopyB); });
      combineAll(*rest, TruthTable::AndNot, 1);
    });
    timed("invert all", [this] {
      for (const MaskRef& mask : masks_) edited(*mask, [&] { mask->invertBox(boxOf(*mask)); });
    });
    timed("bounding boxes of all", [this] {
      for (const MaskRef& mask : masks_) boxes_.push_back(mask->computeBoundingBox(boxOf(*mask)));
    });
    timed("count the voxels of all", [this] { counts_ = countAll(); });
    timed("save all", [this] { saveAll(); });
    std::printf("| files of all | | | | %.0f MiB on disk |\n", folder_.mebibytes());
    timed("load all", [this] { loadAll(); });
    timed("count the voxels of all again", [this] { require(countAll() == counts_, "a mask came back different"); });
    // The first mask has the lowest threshold, so that the others lie inside it.
    require(merged->countSetVoxels(boxOf(*merged)) + counts_[0] == voxelsOfGrid(), "the merged masks are wrong");
    require(rest->countSetVoxels(boxOf(*rest)) + counts_[0] + (voxelsOfGrid() - counts_[1]) == voxelsOfGrid(),
            "the rest of the first mask is wrong");
  }

private:
  static void require(bool held, const char* promise) {
    if (!held) throw std::runtime_error(promise);
  }

  std::uint64_t voxelsOfGrid() const {
    const auto edge = static_cast<std::uint64_t>(options_.edge);
    return edge * edge * edge;
  }

  MaskRef emptyMask() const {
    const int tile = hxvoxora::utilities::getDefaultTileSize();
    auto mask = makeRef<SoVolumeMask>();
    mask->initializeInMemory({options_.edge, options_.edge, options_.edge}, {tile, tile, tile});
    return mask;
  }

  void makeEmptyMasks() const {
    std::vector<MaskRef> masks;
    const double before = mebibytesOf("VmRSS");
    const double seconds = timed("make 100 empty masks", [&] {
      for (int i = 0; i < 100; ++i) masks.push_back(emptyMask());
    });
    require(seconds < 0.1, "100 empty masks took more than 100 ms");
    require(mebibytesOf("VmRSS") - before < 64, "100 empty masks took more than 64 MiB");
  }

  void drawMasks() {
    for (int i = 0; i < options_.masks; ++i) {
      masks_.push_back(emptyMask());
      brain_.draw(*masks_.back(), 20 + 120 * i / options_.masks);
    }
  }

  void combineAll(SoVolumeMask& target, TruthTable f, std::size_t first = 0) const {
    for (std::size_t i = first; i < masks_.size(); ++i)
      edited(target, [&] { target.combineBox(boxOf(target), *masks_[i], f); });
  }

  std::vector<std::uint64_t> countAll() const {
    std::vector<std::uint64_t> counts;
    for (const MaskRef& mask : masks_) counts.push_back(mask->countSetVoxels(boxOf(*mask)));
    return counts;
  }

  void saveAll() const {
    for (std::size_t i = 0; i < masks_.size(); ++i)
      masks_[i]->saveEditing(folder_.file("mask" + std::to_string(i) + ".ldm"), false, {"-c", "gzip"});
  }

  void loadAll() {
    for (std::size_t i = 0; i < masks_.size(); ++i) {
      masks_[i] = makeRef<SoVolumeMask>();
      masks_[i]->bindTo(folder_.file("mask" + std::to_string(i) + ".ldm"));
    }
  }

  Options options_;
  ScratchFolder folder_;
  bench::Brain brain_;
  std::vector<MaskRef> masks_;
  std::vector<SbBox3i32> boxes_;
  std::vector<std::uint64_t> counts_;
};

}  // namespace

int main(int argc, char** argv) {
  try {
    const Options options = parse(argc, argv);
    std::printf("| Step, %d masks on %d^3, budget %zu MiB | Time | Memory | Peak | Spilled |\n|---|--:|--:|--:|--:|\n",
                options.masks, options.edge, options.budgetMebibytes);
    Scenario(options).run();
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "error: %s\n", failure.what());
    return 1;
  }
}
