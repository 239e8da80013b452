#pragma once

#include <QByteArray>
#include <QCryptographicHash>
#include <QString>
#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/base/McHandle.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxPreferences.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

inline std::ostream& operator<<(std::ostream& out, const McVec3i& v) {
  return out << '(' << v.x << ", " << v.y << ", " << v.z << ')';
}

inline void PrintTo(const McBox3i& box, std::ostream* out) {
  for (int i = 0; i < 6; ++i) *out << (i ? " " : "[") << box[i];
  *out << ']';
}

/// A ROI set that remembers what it was told.
class ListeningRois : public HxRois {
public:
  void touch(unsigned int flags) override {
    touches.push_back(flags);
    HxRois::touch(flags);
  }

  std::vector<unsigned int> touches;
};

/// Masks in a folder of their own, with the temporary storage in it, and a recorded console.
class MaskTest : public ::testing::Test {
protected:
  using path = boost::filesystem::path;
  using AccessMode = hxroi::AccessMode;
  using BoxProxy = hxroi::details::BoxProxy;
  using Mask = hxroi::details::Mask;
  using Bits = std::vector<bool>;

  MaskTest() {
    folder = path(::testing::TempDir()) / boost::filesystem::unique_path("mask-%%%%-%%%%-%%%%");
    boost::filesystem::create_directories(folder / "temporary");
    useTemporaryDirectory(folder / "temporary");
  }

  ~MaskTest() override {
    useTemporaryDirectory(path(::testing::TempDir()));
    boost::filesystem::remove_all(folder);
  }

  static HxPreferences& preferences() { return *HxApplication::instance()->settings()->getPreferences(); }
  static void useTemporaryDirectory(const path& directory) {
    preferences().setTemporaryDirectory(QString::fromStdString(directory.string()));
  }

  static McHandle<Mask> makeMask(const McVec3i& dimensions = {13, 11, 7}, bool value = false,
                                 const std::string& name = "mask") {
    return new Mask(name, dimensions, value, McColor(0.5F, 0.25F, 1), nullptr);
  }

  /// A mask with one box of set voxels.
  static McHandle<Mask> makeMask(const McVec3i& dimensions, const McBox3i& box, const std::string& name = "mask") {
    const auto mask = makeMask(dimensions, false, name);
    fill(*mask, box);
    return mask;
  }

  static void fill(Mask& mask, const McBox3i& box, bool value = true) {
    BoxProxy view = mask.getBox(box.getMin(), hxroi::sizeOf(box), AccessMode::WriteOnly);
    view = value;
  }

  /// Writes a mask to files of the user and reads it back as a borrowed one.
  McHandle<Mask> borrowed(Mask& mask, const std::string& name = "user") const {
    mask.writeToFile(folder / name);
    return Mask::loadFromFile(name, folder / name);
  }

  static std::uint64_t count(const Mask& mask) {
    const McVec3i& n = mask.dimensions();
    return mask.volumeMask()->countSetVoxels(SbBox3i32(SbVec3i32(0, 0, 0), SbVec3i32(n.x - 1, n.y - 1, n.z - 1)));
  }

  static bool voxel(const Mask& mask, int x, int y, int z) {
    return mask.getConstBox(McVec3i(x, y, z), McVec3i(1, 1, 1))(0, 0, 0);
  }

  /// All voxels, x fastest.
  static Bits bitsOf(const Mask& mask) {
    const BoxProxy view = mask.getConstBox();
    Bits bits;
    for (const bool value : view) bits.push_back(value);
    return bits;
  }

  static void setBits(Mask& mask, const Bits& bits) {
    BoxProxy view = mask.getBox({0, 0, 0}, mask.dimensions(), AccessMode::WriteOnly);
    std::copy(bits.begin(), bits.end(), view.begin());
  }

  static Bits randomBits(const McVec3i& n, std::mt19937& random, double density = 0.5) {
    std::bernoulli_distribution coin(density);
    Bits bits(static_cast<std::size_t>(n.x) * static_cast<std::size_t>(n.y) * static_cast<std::size_t>(n.z));
    for (auto&& bit : bits) bit = coin(random);
    return bits;
  }

  static McBox3i boundsOf(const Bits& bits, const McVec3i& n) {
    McBox3i box = hxroi::emptyBox<int>();
    std::size_t i = 0;
    for (int z = 0; z < n.z; ++z) {
      for (int y = 0; y < n.y; ++y) {
        for (int x = 0; x < n.x; ++x) {
          if (bits[i++]) box.extendBy(McVec3i(x, y, z));
        }
      }
    }
    return box;
  }

  static std::string textOf(const path& file) {
    std::ifstream in(file.string(), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  }

  static void writeText(const path& file, const std::string& text) {
    std::ofstream(file.string(), std::ios::binary) << text;
  }

  /// Content hashes of all files of a folder, by name.
  static std::map<std::string, std::string> hashesOf(const path& directory) {
    std::map<std::string, std::string> hashes;
    for (const auto& entry : boost::filesystem::directory_iterator(directory)) {
      if (!boost::filesystem::is_regular_file(entry.path())) continue;
      const std::string text = textOf(entry.path());
      hashes[entry.path().filename().string()] =
          QCryptographicHash::hash(QByteArray::fromStdString(text), QCryptographicHash::Sha256).toHex().toStdString();
    }
    return hashes;
  }

  static bool exists(const std::string& file) { return boost::filesystem::exists(file); }

  /// Names of the files of masks in the temporary storage; the mark of this process is not among them.
  std::vector<std::string> temporaryFiles() const {
    std::vector<std::string> names;
    const path directory = folder / "temporary" / "tmp-masks";
    if (!boost::filesystem::exists(directory)) return names;
    for (const auto& entry : boost::filesystem::directory_iterator(directory)) {
      const std::string name = entry.path().filename().string();
      if (!name.starts_with("owner-")) names.push_back(name);
    }
    return names;
  }

  path folder;
  HxRecordingSink console;
};

/// Generator for random tests; the seed is printed and can be set from outside.
inline std::mt19937 seededRandom() {
  const char* given = std::getenv("QUARN_TEST_SEED");
  const auto seed = given ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10)) : std::random_device()();
  ::testing::Test::RecordProperty("seed", std::to_string(seed));
  std::printf("QUARN_TEST_SEED=%u\n", seed);
  return std::mt19937(seed);
}

/// The text of the McException that `statement` throws; a failure of the test when it throws none.
template <class Statement>
std::string refusal(Statement statement) {
  try {
    statement();
  } catch (const McException& exception) {
    return exception.what();
  }
  ADD_FAILURE() << "nothing was refused";
  return {};
}
