#include "hxroi/package.h"

#include <iterator>
#include <memory>

#include "hxroi/HxPortRoiTreeView.h"
#include "hxroi/HxRoiSelector.h"
#include "hxroi/HxRois.h"
#include "hxroi/HxRoisProviderFromHxUniformLabelField3.h"
#include "hxroi/HxRoisProviderFromHxUniformLabelField3Factory.h"
#include "hxroi/HxRoisToHxUniformLabelField3.h"
#include "hxroi/HxSetOfVolumeMaskFromHxRoiSelector.h"
#include "hxroi/HxSetOfVolumeMaskFromHxRoiSelectorFactory.h"
#include "hxroi/HxUniformLabelField3ToHxRois.h"
#include "hxroi/detail/MaskRecovery.h"
#include "hxroi/detail/SetVerifier.h"
#include "hxroi/details/TemporaryFolder.h"
#include "quarn/base/mcinterface_cast.h"
#include "quarn/kernel/io/QuarnMesh.h"

namespace {

struct ClassEntry {
  void (*init)();
  void (*exit)();
};

/// In the order of registration; they leave in reverse.
constexpr ClassEntry kClasses[] = {
    {&HxSetOfVolumeMaskFromHxRoiSelectorFactory::initClass, &HxSetOfVolumeMaskFromHxRoiSelectorFactory::exitClass},
    {&HxRoisProviderFromHxUniformLabelField3Factory::initClass,
     &HxRoisProviderFromHxUniformLabelField3Factory::exitClass},
    {&HxRoiSelector::initClass, &HxRoiSelector::exitClass},
    {&HxPortRoiTreeView::initClass, &HxPortRoiTreeView::exitClass},
    {&HxRoisProviderFromHxUniformLabelField3::initClass, &HxRoisProviderFromHxUniformLabelField3::exitClass},
    {&HxSetOfVolumeMaskFromHxRoiSelector::initClass, &HxSetOfVolumeMaskFromHxRoiSelector::exitClass},
    {&HxRoisProviderInterface::initClass, &HxRoisProviderInterface::exitClass},
    {&HxRoisToHxUniformLabelField3::initClass, &HxRoisToHxUniformLabelField3::exitClass},
    {&HxRois::initClass, &HxRois::exitClass},
    {&HxUniformLabelField3ToHxRois::initClass, &HxUniformLabelField3ToHxRois::exitClass},
};

constinit bool registered = false;

std::unique_ptr<hxroi::MaskRecovery>& recovery() {
  static std::unique_ptr<hxroi::MaskRecovery> instance;
  return instance;
}

/// The hooks of the library. As an object it ends before the tables of the libraries below.
struct LibraryHooks {
  LibraryHooks() { quarnpackage_hxroi_init(); }
  ~LibraryHooks() { quarnpackage_hxroi_finish(); }
};
const LibraryHooks hooks;

/// 0 too when a mask could not be written: a script that saves must not go on as if all were safe.
int save(HxData* data, const char* filename, int (HxRois::*write)(const char*)) {
  auto* rois = mcinterface_cast<HxRois>(data);
  return rois && (rois->*write)(filename) && !rois->isModified();
}

}  // namespace

void quarnpackage_hxroi_init() {
  if (registered) return;
  registered = true;
  for (const ClassEntry& entry : kClasses) entry.init();
  recovery() = std::make_unique<hxroi::MaskRecovery>();
}

void quarnpackage_hxroi_finish() {
  if (!registered) return;
  registered = false;
  recovery().reset();
  for (auto entry = std::rbegin(kClasses); entry != std::rend(kClasses); ++entry) entry->exit();
  hxroi::details::TemporaryFolder::leave();
}

int hxroi_readRois(QuarnMesh* mesh, const char* filename) {
  return HxRois::readQuarnMesh_s(mesh, filename);
}

void hxroi_verifyRois(QuarnMesh* mesh, const char* filename, const HxVerificationReport& report) {
  hxroi::SetVerifier(filename, report).run(*mesh);
}

int hxroi_saveQuarnMesh(HxData* data, const char* filename) {
  return save(data, filename, &HxRois::writeQuarnMesh);
}
int hxroi_saveZelto(HxData* data, const char* filename) {
  return save(data, filename, &HxRois::writeZelto);
}
int hxroi_saveMivro(HxData* data, const char* filename) {
  return save(data, filename, &HxRois::writeMivro);
}
