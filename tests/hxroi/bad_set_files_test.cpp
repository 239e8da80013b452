#include <chrono>
#include <limits>
#include <memory>
#include <sys/resource.h>

#include "SetFileTest.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/voxora/files/FaultFileSystem.h"
#include "tests/support/stride.h"

/// Set files that are damaged or made to do harm: each is refused with a text that tells what is wrong, or is read for
/// what it says; soon, in little memory, and without a look at files outside of the set's folder.

using hxvoxora::FaultFileSystem;
using hxvoxora::FileSystem;
using hxvoxora::FileSystemOverride;
using ::testing::ElementsAre;

namespace {

constexpr double kMostSeconds = 1;
constexpr long kMostKilobytes = 512 * 1024;

const std::string kReadable = "";

class BadSetFiles : public SetFileTest {
protected:
  BadSetFiles() {
    fill(*addMask("A"), {0, 0, 0}, {5, 5, 5});
    fill(*addMask("B"), {3, 3, 3}, {2, 3, 4});
    EXPECT_EQ(save(), 1);
    rois->getMask("A")->writeToFile(folder / "canary");
    makeMask("other", {2, 2, 2})->writeToFile(masks / "other");
    whole = contentOf(file);
    rois = nullptr;
    console.clear();
  }

  static std::string mask(const std::string& name, const std::string& elements = "\"__filename\" text \"A\"") {
    return "\"" + name + "\" {\n" + elements + "\n}\n";
  }

  /// A set file with these ROIs; `settings` are elements of the set.
  static std::string set(const std::string& roiElements, const std::string& settings = {}) {
    return "# QuarnMesh 1 text quarnmesh\nparameters {\n\"ContentType\" text \"HxRois\"\n" + settings +
           "\"__rois\" {\n" + roiElements + "}\n}\n";
  }

  /// Loads the text as the set file. What is told: kReadable when it was read.
  std::string refusal(const std::string& text) {
    std::ofstream(file.string(), std::ios::binary) << text;
    FaultFileSystem files(FileSystem::posix());
    const FileSystemOverride current(files);
    const std::size_t objects = HxObjectPool::instance().objects().size();
    const auto begin = std::chrono::steady_clock::now();
    const long before = mostKilobytes();
    const std::string told = read();
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count(), kMostSeconds);
    EXPECT_LT(mostKilobytes() - before, kMostKilobytes);
    for (const auto& call : files.log()) EXPECT_EQ(call.path.find("canary"), std::string::npos) << call.path;
    EXPECT_EQ(HxObjectPool::instance().objects().size(), objects);
    return shortened(told);
  }

  void expectRefusal(const std::string& text, const std::string& expected) { EXPECT_EQ(refusal(text), expected); }

  McHandle<HxRois> loaded;

  std::string whole;

private:
  static long mostKilobytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
  }

  std::string read() {
    console.clear();
    try {
      const auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
      loaded = new HxRois;
      QString name;
      if (loaded->readQuarnMesh(mesh.get(), file.c_str(), name)) return kReadable;
      EXPECT_TRUE(loaded->getLoadCmd().isEmpty());
      loaded = nullptr;
      EXPECT_EQ(console.consoleEntries.size(), 1U);
      return console.consoleEntries.empty() ? "refused without a word" : console.consoleEntries.front();
    } catch (const McException& refused) {
      return refused.what();
    }
  }

  /// Without the names of folders that are new every time.
  std::string shortened(std::string text) const {
    for (const auto& [what, by] :
         {std::pair(file.string(), "SET"), {masks.string(), "MASKS"}, {folder.string(), "."}}) {
      for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos;) text.replace(at, what.size(), by);
    }
    return text;
  }
};

}  // namespace

TEST_F(BadSetFiles, CutAtEveryByte) {
  const std::size_t body = whole.find("# sha256");
  ASSERT_NE(body, std::string::npos);
  for (std::size_t length = 0; length < whole.size(); length += testStride()) {
    // The last line may be missing, and so may the end of any line.
    const bool isWhole = length == body || length == body - 1 || length == whole.size() - 1;
    const std::string told = refusal(whole.substr(0, length));
    EXPECT_EQ(told == kReadable, isWhole) << length << ": " << told;
    if (!isWhole) {
      EXPECT_THAT(told, ::testing::StartsWith("SET:")) << length;
    }
  }
}

TEST_F(BadSetFiles, AnyByteChanged) {
  for (std::size_t at = 0; at < whole.size(); at += testStride()) {
    std::string text = whole;
    text[at] = static_cast<char>(text[at] ^ 1);
    EXPECT_NE(refusal(text), kReadable) << at;
  }
}

TEST_F(BadSetFiles, WithoutRois) {
  expectRefusal("# QuarnMesh 1 text quarnmesh\nparameters {\n}\n", kReadable);
  EXPECT_EQ(loaded->getNumberOfRois(), 0U);
  expectRefusal("# QuarnMesh 1 text quarnmesh\nparameters {\n\"__rois\" text \"A\"\n}\n",
                "SET: __rois is not a bundle");
}

TEST_F(BadSetFiles, MoreMasksThanASetHolds) {
  std::string hundred;
  for (int i = 0; i < 100; ++i) hundred += mask("m" + std::to_string(i));
  expectRefusal(set(hundred), kReadable);
  EXPECT_EQ(loaded->getNumberOfMasks(), 100U);
  expectRefusal(set(hundred + mask("m100")),
                "SET: ROI \"m100\": There is already 100 masks inside . No more mask can be inserted.");
}

TEST_F(BadSetFiles, MoreMasksInAGroupThanASetHolds) {
  std::string members;
  for (int i = 0; i < 100; ++i) members += mask("m" + std::to_string(i));
  expectRefusal(set(mask("G", members)), kReadable);
  EXPECT_EQ(loaded->getNumberOfMasks(), 100U);
  expectRefusal(set(mask("G", members + mask("m100"))), "MASKS: ROI \"G\": a group of more than 100 masks");
}

TEST_F(BadSetFiles, FilesOfMasksOutside) {
  const auto told = [&](const std::string& element) { return refusal(set(mask("A", "\"__filename\" " + element))); };
  EXPECT_EQ(told("text \"../canary\""), "SET: ROI \"A\": __filename \"../canary\" is not a plain file name");
  EXPECT_EQ(told("text \"" + (folder / "canary").string() + "\""),
            "SET: ROI \"A\": __filename \"./canary\" is not a plain file name");
  EXPECT_EQ(told("text \"\""), "SET: ROI \"A\": __filename \"\" is not a plain file name");
  EXPECT_EQ(told("integer 5"), "SET: ROI \"A\": __filename is not a text");
  EXPECT_EQ(told("text \"missing\""), "Mask A cannot be read: open MASKS/missing.ldm: No such file or directory");
}

TEST_F(BadSetFiles, FoldersOutside) {
  const auto told = [&](const std::string& name) {
    return refusal(set(mask("A"), "\"masks-directory\" text \"" + name + "\"\n"));
  };
  const std::string wrong = " is not the name of a folder beside the file";
  EXPECT_EQ(told(".."), "SET: masks-directory \"..\"" + wrong);
  EXPECT_EQ(told("/tmp"), "SET: masks-directory \"/tmp\"" + wrong);
  EXPECT_EQ(told(std::string(10000, 'x')),
            "SET: masks-directory \"" + McException::excerpt(std::string(10000, 'x')) + "\"" + wrong);
  fs::create_directory(folder / "canary-masks");
  fs::create_directory_symlink(folder / "canary-masks", folder / "linked");
  EXPECT_EQ(told("linked"), "SET: masks-directory \"linked\": ./linked: exists and is not a folder of its own");
  EXPECT_EQ(
      told("missing"),
      "./missing: the folder with the masks of SET is missing; a set file and its folder go together and keep their "
      "names");
}

TEST_F(BadSetFiles, NamesOfRois) {
  expectRefusal(set(mask("A") + mask("A")), "SET:8: element \"A\" stands twice in its bundle");
  expectRefusal(set(mask("")), "SET: ROI \"\": has no name");
  expectRefusal(set(mask("a/b")), kReadable);
  EXPECT_THAT(names(*loaded), ElementsAre("a_b"));
  expectRefusal(set(mask("a/b") + mask("a_b")), "SET:8: element \"a_b\" stands twice in its bundle");
  expectRefusal(set(mask(std::string(300, 'a'))), kReadable);
  expectRefusal(set(mask("Mask1") + mask("mask1")), kReadable);
  EXPECT_THAT(names(*loaded), ElementsAre("Mask1", "mask1"));
}

TEST_F(BadSetFiles, Colours) {
  const auto told = [&](const std::string& color) {
    return refusal(set(mask("A", "\"__filename\" text \"A\"\n\"__color\" " + color)));
  };
  const std::string wrong = "SET: ROI \"A\": __color is not three reals";
  EXPECT_EQ(told("reals 0.5 0.5"), wrong);
  EXPECT_EQ(told("reals nan 0.5 0.5"), wrong);
  EXPECT_EQ(told("reals inf 0.5 0.5"), wrong);
  EXPECT_EQ(told("reals 1e39 0.5 0.5"), wrong);
  EXPECT_EQ(told("reals 1e999 0.5 0.5"), "SET:7: \"__color\": a real number is expected: \"1e999\"");
  EXPECT_EQ(told("text \"red\""), wrong);
}

TEST_F(BadSetFiles, Nesting) {
  std::string deep;
  for (int i = 0; i < 10000; ++i) deep += "\"G\" {\n";
  for (int i = 0; i < 10000; ++i) deep += "}\n";
  expectRefusal(set(deep), "SET:67: \"G\": bundles are nested too deeply, more than: \"64\"");
  // Only masks are members; a group in a group is a parameter of it.
  expectRefusal(set("\"G\" {\n\"Inner\" {\n" + mask("A") + "}\n\"note\" {\n\"x\" integer 1\n}\n" + mask("B") + "}\n"),
                kReadable);
  ASSERT_TRUE(loaded->getGroup("G"));
  EXPECT_EQ(loaded->getNumberOfMasks(), 1U);
  EXPECT_TRUE(loaded->getMask("B"));
}

TEST_F(BadSetFiles, Identifiers) {
  const auto withId = [](const std::string& name, const std::string& id) {
    return mask(name, "\"__filename\" text \"A\"\n\"Id\" " + id);
  };
  expectRefusal(set(withId("A", "text \"one\"") + withId("B", "text \"one\"")),
                "SET: ROI \"B\": Id \"one\" belongs to another ROI of the set");
  expectRefusal(set(withId("A", "integer 1")), "SET: ROI \"A\": Id is not a text");
  const std::string longId(1 << 20, 'x');
  const std::string told =
      refusal(set(withId("A", "text \"" + longId + "\"") + withId("B", "text \"" + longId + "\"")));
  EXPECT_EQ(told, "SET: ROI \"B\": Id \"" + McException::excerpt(longId) + "\" belongs to another ROI of the set");
  expectRefusal(set(withId("A", "text \"[exec touch canary2]\"")), kReadable);
  EXPECT_EQ(loaded->getMask("A")->id(), "[exec touch canary2]");
  EXPECT_FALSE(fs::exists(folder / "canary2"));
}

TEST_F(BadSetFiles, DifferentGrids) {
  expectRefusal(
      set(mask("A") + mask("Other", "\"__filename\" text \"other\"")),
      "SET: ROI \"Other\": Mask Other dimensions (2, 2, 2) does not match other rois dimensions (13, 11, 7).");
}
