#include "CrashedDisk.h"

#include <algorithm>
#include <set>

using Kind = DiskChange::Kind;

namespace {

constexpr std::size_t kBlock = 4096;

bool changesNames(const DiskChange& change) {
  return change.kind == Kind::link || change.kind == Kind::unlink || change.kind == Kind::move;
}

/// Draws, for a number of things one after the other, which of them are kept.
std::vector<bool> draw(std::size_t count, CrashedDisk::Kept kept, std::mt19937& random) {
  using Kept = CrashedDisk::Kept;
  std::vector<bool> choice(count, kept == Kept::all || kept == Kept::allButOne);
  if (count == 0) return choice;
  const auto below = [&](std::size_t limit) { return static_cast<std::size_t>(random()) % limit; };
  switch (kept) {
    case Kept::all:
    case Kept::none:
      break;
    case Kept::first:
    case Kept::firstOfAll:
      std::fill_n(choice.begin(), below(count + 1), true);
      break;
    case Kept::some:
      for (std::size_t i = 0; i < count; ++i) choice[i] = below(2) == 0;
      break;
    case Kept::allButOne:
      choice[below(count)] = false;
      break;
    case Kept::one:
      choice[below(count)] = true;
      break;
  }
  return choice;
}

/// Folders by number, with what is in them by name.
using Names = std::map<std::size_t, std::map<std::string, std::size_t>>;

void apply(const DiskChange& change, Names& names) {
  if (change.kind == Kind::unlink) {
    names[change.folder].erase(change.name);
    return;
  }
  if (change.kind == Kind::move) {
    auto& former = names[change.formerFolder];
    const auto found = former.find(change.formerName);
    if (found != former.end() && found->second == change.node) former.erase(found);
  }
  names[change.folder][change.name] = change.node;
}

}  // namespace

bool CrashedDisk::isOnStableStorage(std::size_t change, std::size_t end) const {
  const DiskChange& made = changes_[change];
  for (std::size_t i = change + 1; i < end; ++i) {
    if (changes_[i].kind != Kind::syncFolder) continue;
    if (changes_[i].folder == made.folder) return true;
    if (made.kind == Kind::move && changes_[i].folder == made.formerFolder) return true;
  }
  return false;
}

std::vector<std::size_t> CrashedDisk::outlastingNames(std::size_t end, Kept kept, std::mt19937& random) const {
  std::vector<std::size_t> outlasting;
  std::map<std::size_t, std::vector<std::size_t>> loose;  // by folder, as far as that counts
  for (std::size_t i = 0; i < end; ++i) {
    if (!changesNames(changes_[i])) continue;
    if (isOnStableStorage(i, end)) {
      outlasting.push_back(i);
    } else {
      loose[kept == Kept::first ? changes_[i].folder : 0].push_back(i);
    }
  }
  for (const auto& [folder, changes] : loose) {
    const std::vector<bool> choice = draw(changes.size(), kept, random);
    for (std::size_t i = 0; i < changes.size(); ++i) {
      if (choice[i]) outlasting.push_back(changes[i]);
    }
  }
  std::sort(outlasting.begin(), outlasting.end());
  return outlasting;
}

std::vector<std::byte> CrashedDisk::content(std::size_t file, std::size_t end, Kept kept, std::mt19937& random) const {
  std::vector<std::byte> whole;
  std::size_t synced = 0;
  for (std::size_t i = 0; i < end; ++i) {
    if (changes_[i].node != file) continue;
    if (changes_[i].kind == Kind::write) {
      whole.insert(whole.end(), changes_[i].bytes.begin(), changes_[i].bytes.end());
    } else if (changes_[i].kind == Kind::syncFile) {
      synced = whole.size();
    }
  }
  // Pieces between limits of blocks, from what is on stable storage on.
  std::vector<std::size_t> starts;
  for (std::size_t at = synced; at < whole.size(); at = (at / kBlock + 1) * kBlock) starts.push_back(at);
  const std::vector<bool> choice = draw(starts.size(), kept, random);
  std::size_t size = synced;
  for (std::size_t i = 0; i < starts.size(); ++i) {
    const std::size_t pieceEnd = std::min(whole.size(), (starts[i] / kBlock + 1) * kBlock);
    if (choice[i]) {
      size = pieceEnd;
    } else {
      std::fill(whole.begin() + static_cast<std::ptrdiff_t>(starts[i]),
                whole.begin() + static_cast<std::ptrdiff_t>(pieceEnd), std::byte{0});
    }
  }
  // The size of a file may be known before its bytes are there.
  if (kept != Kept::some || random() % 2 == 0) whole.resize(size);
  return whole;
}

CrashedDisk::Tree CrashedDisk::after(std::size_t end, Kept names, Kept bytes, std::mt19937& random) const {
  Names folders;
  for (const std::size_t change : outlastingNames(end, names, random)) apply(changes_[change], folders);
  std::set<std::size_t> isFolder;
  for (const DiskChange& change : changes_) {
    if (change.kind == Kind::link && change.isFolder) isFolder.insert(change.node);
  }
  Tree tree;
  std::vector<std::pair<std::size_t, std::string>> open{{DiskRecorder::kRoot, ""}};
  while (!open.empty()) {
    const auto [folder, path] = open.back();
    open.pop_back();
    for (const auto& [name, node] : folders[folder]) {
      if (isFolder.contains(node)) {
        tree[path + name] = std::nullopt;
        open.emplace_back(node, path + name + "/");
      } else {
        tree[path + name] = content(node, end, bytes, random);
      }
    }
  }
  return tree;
}
