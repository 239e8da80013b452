#include "hxroi/HxRoiSelector.h"

#include <QCoreApplication>
#include <QHash>
#include <QStringList>
#include <utility>
#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/HxRoisProviderInterface.h"
#include "hxroi/detail/hold.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/internal/RoiVisibilityState.h"
#include "quarn/kernel/app/HxMessage.h"
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

QString wordFor(const Roi& roi) {
  return hxroi::RoiVisibilityState::wordFor(QString::fromLatin1(roi.id()), nameOf(roi));
}

template <class Visit>
void visitRois(const HxRois& rois, Visit visit) {
  for (const auto& roi : rois) {
    visit(*roi);
    if (const auto* group = dynamic_cast<const Group*>(roi.get())) {
      for (const Mask& member : *group) visit(member);
    }
  }
}

/// "visibility ROI 0|1 ..." with other words for the ROIs.
QString reworded(const QString& state, const QHash<QString, QString>& others) {
  QStringList words = state.simplified().split(' ');
  for (qsizetype i = 1; i < words.size(); i += 2) words[i] = others.value(words[i], words[i]);
  return words.join(' ');
}

QString withNames(const QString& state, const HxRois& rois) {
  QHash<QString, QString> names;
  visitRois(rois, [&names](const Roi& roi) { names.insert(wordFor(roi), nameOf(roi)); });
  return reworded(state, names);
}

QString withIdentifiers(const QString& state, const HxRois& rois) {
  QHash<QString, QString> identifiers;
  visitRois(rois, [&identifiers](const Roi& roi) { identifiers.insert(nameOf(roi), wordFor(roi)); });
  return reworded(state, identifiers);
}

}  // namespace

// --- The tree -----------------------------------------------------------------------------------------------------

HxRoiSelector::RoiVisibility::RoiVisibility(HxRoiSelector& selector)
    : HxPortRoiTreeView(&selector, "roiVisibility", tr("Roi Visibility"), SELECTOR_MODULE), selector_(selector) {}

bool HxRoiSelector::RoiVisibility::setState(const QString& state) {
  const std::exception_ptr failure = selector_.tryToCatchUp();
  HxRois* const rois = getHxRois();
  const bool isTaken = HxPortRoiTreeView::setState(isMadeAnew(rois) ? withIdentifiers(state, *rois) : state);
  if (failure) std::rethrow_exception(failure);
  return isTaken;
}

int HxRoiSelector::RoiVisibility::parse(Tcl_Interp* interp, int argc, char** argv) {
  const std::exception_ptr failure = selector_.tryToCatchUp();
  const int result = HxPortRoiTreeView::parse(interp, argc, argv);
  if (failure) std::rethrow_exception(failure);
  return result;
}

void HxRoiSelector::RoiVisibility::getState(QString& state) const {
  if (selector_.portData.source() && selector_.portData.isNew(kConnection)) return;
  HxPortRoiTreeView::getState(state);
  HxRois* const rois = getHxRois();
  if (isMadeAnew(rois)) state = withNames(state, *rois);
}

bool HxRoiSelector::RoiVisibility::isMadeAnew(HxRois* rois) const {
  if (!rois || rois->isFromSetFile()) return false;
  return rois != selector_.portData.source() || rois->origin() != Origin::Class;
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
  const unsigned int flags = portData.getNewFlags() | portRoiVisibility.getNewFlags();
  if (flags) touch(flags);
  if (isCatchingUp_) {
    owed_ |= flags;
  } else {
    mark(std::exchange(owed_, 0));
  }
  if (!failure) return;
  passOnFailed();
  std::rethrow_exception(failure);
}

/// A failure ends the evaluation before it comes to what is connected here, which would keep the former set.
void HxRoiSelector::passOnFailed() {
  std::vector<McHandle<HxObject>> owners;
  for (HxConnection* connection : downstreamConnections()) {
    connection->touch(getNewFlags() & ~kConnection);
    owners.push_back(hxroi::hold(connection->owner()));
  }
  if (isCatchingUp_) return;
  for (const auto& owner : owners) {
    try {
      if (owner) owner->fire();
    } catch (const std::exception& other) {
      // The caller is told what went wrong first.
      HxMessage::printf("%s", other.what());
    }
  }
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
  if (const std::exception_ptr failure = tryToCatchUp()) std::rethrow_exception(failure);
}

/// What it failed with first; null when all went well.
std::exception_ptr HxRoiSelector::tryToCatchUp() {
  if (isBeingEvaluated()) return nullptr;
  const auto alive = hxroi::hold(this);
  std::exception_ptr failure;
  const auto evaluate = [&failure](HxObject& object) {
    try {
      object.fire(0);
    } catch (...) {
      if (!failure) failure = std::current_exception();
    }
  };
  // Commands may change a set and leave its evaluation to the next one.
  auto* const rois = hxconnection_cast<HxRois>(portData);
  if (rois && rois->isNew() && !rois->isBeingEvaluated()) evaluate(*rois);
  if (!portData.isNew() && !portRoiVisibility.isNew()) return failure;
  isCatchingUp_ = true;
  evaluate(*this);
  isCatchingUp_ = false;
  return failure;
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
