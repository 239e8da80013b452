#include <QCoreApplication>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "fuzz/targets/headers.h"
#include "fuzz/targets/properties.h"
#include "fuzz/targets/targets.h"
#include "hxroi/HxRois.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/package.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/MemoryFileSystem.h"
#include "quarn/voxora/files/TiledFileWriter.h"

namespace fuzz {

using hxvoxora::FileSystemOverride;
using hxvoxora::MemoryFileSystem;
using hxvoxora::TiledFileWriter;
using hxvoxora::VolumeHeader;

namespace {

const char* const file = "/v/set.ROIs.qm";
const std::string masks = "/v/set.ROIs-masks";

/// There is none in a fuzzer, and texts are translated through it.
void provideApplication() {
  if (QCoreApplication::instance()) return;
  static int count = 1;
  static char name[] = "fuzz_set";
  static char* words[] = {name, nullptr};
  static QCoreApplication application(count, words);
}

void addMask(MemoryFileSystem& files, const std::string& name, const VolumeHeader& header) {
  TiledFileWriter writer(files, masks + "/" + name + ".ldm", header);
  writer.commit();
}

void makeOlder(MemoryFileSystem& files, const std::string& name) {
  const auto bytes = files.content(masks + "/A.ldm");
  std::string text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  text.insert(text.find("</VolumeInformation>"), "<TileBorder>1</TileBorder>");
  const auto edited = std::as_bytes(std::span(text));
  files.setContent(masks + "/" + name + ".ldm", {edited.begin(), edited.end()});
}

/// The folder of the set, without the set file. Nobody changes it.
MemoryFileSystem& folder() {
  static auto& files = *[] {
    auto made = new MemoryFileSystem;
    made->makeDirectory(masks);
    addMask(*made, "A", headerNumber(0));
    addMask(*made, "B", headerNumber(0));
    addMask(*made, "other", headerNumber(1));
    makeOlder(*made, "older");
    return made;
  }();
  return files;
}

using Bytes = MemoryFileSystem::Bytes;

std::map<std::string, Bytes> contentOf(MemoryFileSystem& files) {
  std::map<std::string, Bytes> content;
  for (const std::string& name : files.list(masks)) content[name] = files.content(masks + "/" + name);
  return content;
}

/// A refusal can be shown: each line of it short and without control characters, and the first names a file.
void requireShowable(const std::string& text) {
  constexpr std::size_t longestLine = 4000;
  require(text.find("/v/set.ROIs") != std::string::npos, "a refusal names a file: " + text);
  std::size_t length = 0;
  for (const char c : text) {
    length = c == '\n' ? 0 : length + 1;
    require(length <= longestLine, "lines of a refusal are short: " + text);
    require(c == '\n' || (static_cast<unsigned char>(c) >= 0x20 && c != 0x7F),
            "a refusal has no control characters: " + text);
  }
}

std::unique_ptr<QuarnMesh> parse(const QByteArray& text) {
  try {
    return QuarnMesh::parse(text, QString::fromLatin1(file));
  } catch (const McException& refusal) {
    requireShowable(refusal.what());
    return nullptr;
  }
}

struct Outcome {
  McHandle<HxRois> rois;  ///< null when it was refused
  std::string refusal;
};

Outcome load(const QByteArray& text) {
  const auto mesh = parse(text);
  HxRecordingSink sink;
  Outcome outcome;
  outcome.rois = new HxRois;
  QString name;
  if (outcome.rois->readQuarnMesh(mesh.get(), file, name)) return outcome;
  outcome.rois = nullptr;
  require(!sink.consoleEntries.empty(), "a refusal has a reason");
  outcome.refusal = sink.consoleEntries.back();
  requireShowable(outcome.refusal);
  return outcome;
}

/// In their order, each group followed by its members.
std::vector<std::string> namesOf(const HxRois& rois) {
  std::vector<std::string> names;
  for (const auto& roi : rois) {
    names.push_back(roi->name());
    const auto* group = dynamic_cast<const hxroi::details::Group*>(roi.get());
    if (!group) continue;
    for (const auto& member : *group) names.push_back(member.name());
  }
  return names;
}

void requireRules(const HxRois& rois) {
  require(rois.getNumberOfMasks() <= HxRois::kMaximumNumberOfMasks, "a set holds no more masks than it may");
  std::set<std::string> names;
  for (const hxroi::details::Mask* mask : rois.masks()) {
    require(mask->dimensions() == rois.dimensions(), "the masks of a set have one grid");
    require(names.insert(mask->name()).second, "names are unique");
  }
}

bool isFoundSound(const QByteArray& text) {
  const auto mesh = parse(text);
  bool sound = true;
  hxroi_verifyRois(mesh.get(), file, [&](const QString&, bool isSound) { sound = sound && isSound; });
  return sound;
}

}  // namespace

bool set(std::span<const std::byte> input) {
  provideApplication();
  static const auto expected = contentOf(folder());
  const FileSystemOverride current(folder());
  const QByteArray text(reinterpret_cast<const char*>(input.data()), static_cast<qsizetype>(input.size()));
  const auto mesh = parse(text);
  if (!mesh) return false;
  const QByteArray written = mesh->toText(true, false);
  const auto again = parse(written);
  require(again && again->toText(true, false) == written, "what is written is parsed the same");

  const Outcome first = load(text), second = load(written);
  require(first.refusal == second.refusal, "the same is refused for the same reason");
  if (first.rois) {
    requireRules(*first.rois);
    require(second.rois && namesOf(*first.rois) == namesOf(*second.rois), "the same is loaded the same");
  } else {
    require(!isFoundSound(text), "what is found sound is loaded");
  }
  require(contentOf(folder()) == expected, "nothing is written");
  return first.rois != nullptr;
}

}  // namespace fuzz
