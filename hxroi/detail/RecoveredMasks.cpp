#include "hxroi/detail/RecoveredMasks.h"

#include <algorithm>
#include <array>
#include <exception>
#include <iterator>
#include <map>
#include <utility>

#include "hxroi/HxRois.h"
#include "hxroi/detail/SetRecord.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/TemporaryFolder.h"
#include "hxroi/details/VolumeNode.h"
#include "hxroi/details/toolkitBoxes.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/TiledFileReader.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace hxroi {

namespace LeftOvers = details::LeftOvers;
namespace TemporaryFolder = details::TemporaryFolder;
using details::Mask;
using hxvoxora::FileSystem;
using hxvoxora::StoredTileKind;
using hxvoxora::TiledFileReader;
using Entry = RecoveredMasks::Entry;

namespace {

constexpr const char* kUnknownName = "recovered";

/// The stored tiles of all levels are those that the index tells of.
void checkTiles(const TiledFileReader& file) {
  for (const auto& run : file.runs()) {
    if (run.kind != StoredTileKind::stored) continue;
    for (std::uint64_t tile = run.firstTile; tile < run.firstTile + run.tileCount; ++tile) file.readCompressed(tile);
  }
}

std::uint64_t countVoxels(const std::string& ldmPath) {
  const details::NodeHolder node(details::createVolumeNode());
  node->bindTo(ldmPath);
  const SbVec3i32 n = node->dataDimension();
  return node->countSetVoxels(SbBox3i32(SbVec3i32(0, 0, 0), SbVec3i32(n[0] - 1, n[1] - 1, n[2] - 1)));
}

void noteSizes(FileSystem& files, const std::string& folder, Entry& entry) {
  for (const std::string& name : entry.files.names) {
    try {
      const auto identity = files.openForReading(folder + "/" + name, FileSystem::Links::refuse)->identity();
      entry.bytes += identity.size;
      entry.lastWriteNanos = std::max(entry.lastWriteNanos, identity.changedNanos);
    } catch (const McException&) {
      // What cannot be opened cannot be recovered either, which is said elsewhere.
    }
  }
}

void noteContent(FileSystem& files, const std::string& ldmPath, Entry& entry) {
  const auto file = TiledFileReader::open(files, ldmPath);
  entry.name = file->header().contentName;
  entry.dimensions = file->header().dimensions;
  entry.tileDimensions = file->header().tileDimensions;
  checkTiles(*file);
  entry.setVoxels = countVoxels(ldmPath);
}

void noteRecord(const std::string& file, Entry& entry) {
  const auto record = SetRecord::read(file);
  entry.name = SetRecord::label(*record);
  entry.masks = SetRecord::maskCount(*record);
}

Entry examineOne(FileSystem& files, const std::string& folder, const LeftOvers::FileSet& leftOver) {
  Entry entry;
  entry.files = leftOver;
  noteSizes(files, folder, entry);
  const auto has = [&leftOver](const char* extension) {
    return std::find(leftOver.names.begin(), leftOver.names.end(), leftOver.stem + extension) != leftOver.names.end();
  };
  const std::string stem = folder + "/" + leftOver.stem;
  entry.isSet = has(SetRecord::kExtension);
  try {
    if (entry.isSet) {
      noteRecord(stem + SetRecord::kExtension, entry);
    } else if (has(".ldm")) {
      noteContent(files, stem + ".ldm", entry);
    } else {
      throw McException("it was never written to its end");
    }
  } catch (const std::exception& failure) {
    entry.problem = failure.what();
  }
  return entry;
}

std::vector<Entry> examineAll(FileSystem& files, const std::string& folder) {
  std::vector<Entry> entries;
  for (const LeftOvers::FileSet& leftOver : LeftOvers::find(files, folder)) {
    entries.push_back(examineOne(files, folder, leftOver));
  }
  return entries;
}

/// The folder of the temporary files. One that others can write to, or have made, may hold anything and is refused.
std::string ownFolder(FileSystem& files) {
  const std::string folder = TemporaryFolder::path();
  if (files.kind(folder) == hxvoxora::FileKind::directory) files.makePrivateDirectory(folder);
  return folder;
}

std::unique_ptr<LeftOvers::Claim> claimIfPresent(FileSystem& files, const std::string& folder) {
  if (files.kind(folder) != hxvoxora::FileKind::directory) return nullptr;
  return std::make_unique<LeftOvers::Claim>(files, folder);
}

using Grid = std::array<int, 6>;

/// Masks of one set agree in it.
Grid gridOf(const Entry& entry) {
  const McVec3i& n = entry.dimensions;
  const McVec3i& tile = entry.tileDimensions;
  return {n.x, n.y, n.z, tile.x, tile.y, tile.z};
}

/// A set for one more mask of a grid; the last one is full at a hundred.
HxRois& setFor(std::vector<McHandle<HxRois>>& sets) {
  if (sets.empty() || sets.back()->getNumberOfMasks() == HxRois::kMaximumNumberOfMasks) {
    sets.push_back(McHandle<HxRois>(new HxRois));
  }
  return *sets.back();
}

}  // namespace

bool RecoveredMasks::any() {
  return !LeftOvers::find(FileSystem::current(), ownFolder(FileSystem::current())).empty();
}

std::vector<Entry> RecoveredMasks::examine() {
  return examineAll(FileSystem::current(), ownFolder(FileSystem::current()));
}

RecoveredMasks::RecoveredMasks()
    : folder_(ownFolder(FileSystem::current())),
      claim_(claimIfPresent(FileSystem::current(), folder_)),
      entries_(examineAll(FileSystem::current(), folder_)) {}

RecoveredMasks::~RecoveredMasks() = default;

std::vector<McHandle<HxRois>> RecoveredMasks::load(const std::set<std::string>& known) {
  const auto isWanted = [&known](const Entry& entry) {
    return entry.problem.empty() && !entry.isLoaded && !entry.isUsed && !known.contains(entry.files.stem);
  };
  std::vector<McHandle<HxRois>> all;
  for (Entry& entry : entries_) {
    if (!entry.isSet || !isWanted(entry)) continue;
    if (const McHandle<HxRois> rois = loadRecorded(entry, known)) all.push_back(rois);
  }
  std::map<Grid, std::vector<McHandle<HxRois>>> setsOfGrid;
  for (Entry& entry : entries_) {
    if (!entry.isSet && isWanted(entry)) loadInto(setFor(setsOfGrid[gridOf(entry)]), entry);
  }
  for (auto& [grid, sets] : setsOfGrid) {
    std::copy_if(sets.begin(), sets.end(), std::back_inserter(all),
                 [](const McHandle<HxRois>& rois) { return rois->getNumberOfMasks() > 0; });
  }
  return all;
}

void RecoveredMasks::loadInto(HxRois& rois, Entry& entry) const {
  try {
    rois.addRoi(loadMask(entry, rois.getUniqueName(entry.name.empty() ? kUnknownName : entry.name)));
    entry.isLoaded = true;
  } catch (const std::exception& failure) {
    entry.problem = failure.what();
  }
}

Entry* RecoveredMasks::findMask(const std::string& stem) {
  const auto found = std::find_if(entries_.begin(), entries_.end(), [&stem](const Entry& entry) {
    return !entry.isSet && entry.problem.empty() && entry.files.stem == stem;
  });
  return found == entries_.end() ? nullptr : &*found;
}

/// When something of the set is lost all of it stays left: maybe what is missing comes back, or somebody knows what to
/// do.
McHandle<HxRois> RecoveredMasks::loadRecorded(Entry& record, const std::set<std::string>& known) {
  std::vector<std::pair<Entry*, McHandle<Mask>>> read;
  const auto loadStored = [&](const std::string& stem, const std::string& name) -> McHandle<Mask> {
    Entry* entry = known.contains(stem) ? nullptr : findMask(stem);
    if (!entry || entry->isLoaded || entry->isUsed) return {};
    read.emplace_back(entry, loadMask(*entry, name));
    return read.back().second;
  };
  try {
    const auto content = SetRecord::read(folder_ + "/" + record.files.stem + SetRecord::kExtension);
    McHandle<HxRois> rois = SetRecord::load(*content, loadStored);
    const auto lost = static_cast<std::size_t>(record.masks) - rois->getNumberOfMasks();
    for (const auto& [entry, mask] : read) (lost == 0 ? entry->isLoaded : entry->isUsed) = rois->containsRoi(mask);
    record.isLoaded = lost == 0;
    if (lost > 0) {
      record.problem = std::to_string(lost) + " of its " + std::to_string(record.masks) +
                       " masks could not be brought back; its files stay in the temporary storage";
    }
    return rois->getNumberOfRois() > 0 ? rois : McHandle<HxRois>();
  } catch (const std::exception& failure) {
    record.problem = failure.what();
    return {};
  }
}

McHandle<Mask> RecoveredMasks::loadMask(const Entry& entry, const std::string& name) const {
  McHandle<Mask> mask(Mask::loadFromFile(name, folder_ + "/" + entry.files.stem));
  mask->saveMaskToTemporary();
  // Without a place of its own the mask would end with the left-over.
  if (mask->temporaryPrefix().empty()) throw McException("Mask " + name + " cannot be copied: no temporary folder");
  return mask;
}

template <class Condition>
int RecoveredMasks::removeIf(Condition condition) {
  FileSystem& files = FileSystem::current();
  int count = 0;
  std::exception_ptr failure;
  std::erase_if(entries_, [&](const Entry& entry) {
    if (!condition(entry)) return false;
    try {
      LeftOvers::remove(files, folder_, entry.files);
    } catch (...) {
      if (!failure) failure = std::current_exception();
      return false;
    }
    ++count;
    return true;
  });
  LeftOvers::removeRemains(files, folder_);
  if (failure) std::rethrow_exception(failure);
  return count;
}

int RecoveredMasks::removeLoaded() {
  return removeIf([](const Entry& entry) { return entry.isLoaded; });
}

int RecoveredMasks::removeAll() {
  return removeIf([](const Entry&) { return true; });
}

}  // namespace hxroi
