#include "tests/hxroi_worker/killedWork.h"

#include <cstdio>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "quarn/kernel/io/QuarnMesh.h"
#include "tests/hxroi_worker/killedSet.h"

namespace {

McHandle<HxRois> load(const std::string& file) {
  const auto mesh = QuarnMesh::read(QString::fromStdString(file));
  McHandle<HxRois> set(new HxRois);
  set->setLabel("set");
  QString name;
  if (!set->readQuarnMesh(mesh.get(), file.c_str(), name)) throw std::runtime_error(file + ": not loaded");
  return set;
}

void save(HxRois& set, const std::string& file) {
  if (!set.writeQuarnMesh(file.c_str()) || set.isModified()) throw std::runtime_error(file + ": not saved");
}

void say(int number) {
  std::printf("%d\n", number);
  std::fflush(stdout);
}

void saveNew(int number, const std::string& file) {
  save(*killedset::make(number), file + std::to_string(number) + ".ROIs.qm");
  say(number);
}

void saveOver(int number, const std::string& file) {
  save(*killedset::make(number), file);
  say(number);
}

void saveRenamed(int /*number*/, const std::string& file) {
  const McHandle<HxRois> set = load(file);
  killedset::renameNext(*set);
  save(*set, file);
  say(killedset::numberOf(*set));
}

void flushEdits(int number, const std::string& /*file*/) {
  static std::vector<McHandle<killedset::Mask>> masks;
  for (int i = 0; i < killedset::kMasks; ++i) {
    const auto at = static_cast<std::size_t>(i);
    if (masks.size() == at) masks.push_back(killedset::makeMask(number, i));
    killedset::setBits(*masks[at], killedset::bits(number, i));
    masks[at]->flush(0);
  }
  say(number);
}

void own(int number, const std::string& file) {
  const McHandle<HxRois> set = load(file);
  for (const killedset::Mask* mask : set->masks()) set->getMask(mask->name())->saveMaskToTemporary();
  say(number);
}

/// Upgrades a copy of the set in the folder FILE-older: the new set comes beside the old one for even numbers, and
/// takes its place for odd ones.
void upgrade(int number, const std::string& file) {
  const std::string folder = file + std::to_string(number);
  std::filesystem::copy(file + "-older", folder + "~", std::filesystem::copy_options::recursive);
  std::filesystem::rename(folder + "~", folder);
  qputenv("RUNNING_TEST", "1");
  HxRois::replaceExistingROIsWhenUpgrading(number % 2 != 0);
  load(folder + "/set.ROIs.qm");
  say(number);
}

}  // namespace

bool runUntilKilled(const std::string& mode, int firstNumber, const std::string& file) {
  static const std::map<std::string, void (*)(int, const std::string&)> work = {
      {"first", saveNew},    {"over", saveOver}, {"renames", saveRenamed},
      {"flush", flushEdits}, {"borrow", own},    {"upgrade", upgrade}};
  const auto found = work.find(mode);
  if (found == work.end()) return false;
  std::printf("begin\n");
  std::fflush(stdout);
  if (std::getchar() == EOF) return true;
  for (int number = firstNumber;; ++number) found->second(number, file);
}
