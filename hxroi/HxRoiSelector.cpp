#include "hxroi/HxRoiSelector.h"

#include <QCoreApplication>
#include <exception>

#include "hxroi/HxRois.h"
#include "hxroi/HxRoisProviderInterface.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "quarn/kernel/objects/hxconnection_cast.h"

using hxroi::details::Group;
using hxroi::details::Mask;
using hxroi::details::Roi;

MC_CLASS_IMPL(HxRoiSelector, HxData)

namespace {

constexpr unsigned int kConnection = 1;
constexpr unsigned int kContent = 8;
constexpr unsigned int kVisibility = 1024;

QString tr(const char* text) {
  return QCoreApplication::translate("HxRoiSelector", text);
}

/// Names of ROIs are Latin-1.
QString nameOf(const Roi& roi) {
  return QString::fromLatin1(roi.name());
}

}  // namespace

// --- The tree -----------------------------------------------------------------------------------------------------

HxRoiSelector::RoiVisibility::RoiVisibility(HxRoiSelector& selector)
    : HxPortRoiTreeView(&selector, "roiVisibility", tr("Roi Visibility"), SELECTOR_MODULE), selector_(selector) {}

bool HxRoiSelector::RoiVisibility::setState(const QString& state) {
  selector_.catchUp();
  return HxPortRoiTreeView::setState(state);
}

int HxRoiSelector::RoiVisibility::parse(Tcl_Interp* interp, int argc, char** argv) {
  selector_.catchUp();
  return HxPortRoiTreeView::parse(interp, argc, argv);
}

void HxRoiSelector::RoiVisibility::getState(QString& state) const {
  HxPortRoiTreeView::getState(state);
  HxRois* const rois = getHxRois();
  const bool isMadeAnew = rois && (rois != selector_.portData.source() || rois->origin() == Origin::Module);
  if (!isMadeAnew) return;
  for (const auto& roi : *rois) state.replace(QString::fromLatin1(roi->id()), nameOf(*roi));
}

// --- The selector -------------------------------------------------------------------------------------------------

HxRoiSelector::HxRoiSelector()
    : portData(this, "data", tr("Data"), HxRois::getClassTypeId()), portRoiVisibility(*this) {
  portData.addAcceptedType(HxRoisProviderInterface::getClassTypeId());
}

HxRoiSelector::~HxRoiSelector() = default;

HxRois* HxRoiSelector::getHxRois() const {
  if (auto* rois = hxconnection_cast<HxRois>(portData)) return rois;
  auto* provider = hxconnection_cast<HxRoisProviderInterface>(portData);
  return provider ? provider->getHxRois() : nullptr;
}

void HxRoiSelector::update() {
  std::exception_ptr failure;
  if (portData.isNew(kConnection)) {
    try {
      showSet();
    } catch (...) {
      // What a failed conversion has brought is shown all the same.
      failure = std::current_exception();
      showSet();
    }
  }
  if (portData.isNew(kContent)) {
    const bool isConnected = portData.source() != nullptr;
    if (isConnected) portRoiVisibility.updateHxRois();
    portRoiVisibility.setVisible(isConnected);
    portRoiVisibility.touch(kVisibility);
  }
  if (portRoiVisibility.isNew(kVisibility)) {
    visibleMasks_.clear();
    if (HxRois* rois = portRoiVisibility.getHxRois()) gatherMasks(rois);
  }
  if (const unsigned int flags = portData.getNewFlags() | portRoiVisibility.getNewFlags()) touch(flags);
  if (failure) std::rethrow_exception(failure);
}

void HxRoiSelector::showSet() {
  portRoiVisibility.setHxRois(getHxRois());
}

void HxRoiSelector::gatherMasks(HxRois* rois) {
  const auto addVisible = [this](const Mask& mask) {
    if (portRoiVisibility.isRoiVisible(nameOf(mask))) visibleMasks_.push_back(&mask);
  };
  for (const auto& roi : *rois) {
    if (const auto* group = dynamic_cast<const Group*>(roi.get())) {
      for (const Mask& member : *group) addVisible(member);
    } else if (const auto* mask = dynamic_cast<const Mask*>(roi.get())) {
      addVisible(*mask);
    }
  }
}

void HxRoiSelector::catchUp() {
  if (isBeingEvaluated() || (!portData.isNew() && !portRoiVisibility.isNew())) return;
  fire(0);
}

void HxRoiSelector::touch(unsigned int flags) {
  if (flags & (kConnection | kContent | kVisibility)) {
    HxData::touch(flags);
  } else {
    mark(flags);
  }
}

void HxRoiSelector::setModified(unsigned int) {
  HxData::setModified(0);
}
