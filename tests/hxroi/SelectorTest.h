#pragma once

#include <QString>
#include <string>
#include <vector>

#include "RoisTest.h"
#include "hxroi/HxRoiSelector.h"
#include "hxroi/HxRoisProviderFromHxUniformLabelField3Factory.h"
#include "hxroi/HxRoisProviderInterface.h"
#include "hxroi/HxSetOfVolumeMaskFromHxRoiSelectorFactory.h"
#include "quarn/base/mcinterface_cast.h"
#include "quarn/kernel/fields/HxISetOfVolumeMask.h"
#include "quarn/kernel/objects/HxObjectPool.h"

/// A selector with the interface of the renderer, and a set that it may be connected to.
class SelectorTest : public RoisTest {
protected:
  SelectorTest() { renderer = attachTo(*selector); }
  ~SelectorTest() override { HxObjectPool::instance().clear(); }

  static HxISetOfVolumeMask* attachTo(HxRoiSelector& owner) {
    HxSetOfVolumeMaskFromHxRoiSelectorFactory().attachInterfaces(&owner);
    return mcinterface_cast<HxISetOfVolumeMask>(&owner);
  }

  static HxRoisProviderInterface* offerRois(HxUniformLabelField3* field) {
    HxRoisProviderFromHxUniformLabelField3Factory().attachInterfaces(field);
    return mcinterface_cast<HxRoisProviderInterface>(field);
  }

  /// A label field with the labels 2, 1, 2 that offers a set: "Bone" and "Muscle".
  static McHandle<HxUniformLabelField3> boneAndMuscle() {
    auto field = makeLabels({3, 1, 1}, {2, 1, 2});
    for (const char* name : {"Exterior", "Bone", "Muscle"}) field->materials(true)->getBundle(name);
    offerRois(field);
    return field;
  }

  /// "A", the group "G" of "B" and "C", and "D"; shown.
  void showSet() {
    addMask("A");
    rois->addRoi(makeGroup("G", {"B", "C"}));
    addMask("D");
    rois->fire();
    show(rois);
  }

  void show(HxObject* source) {
    EXPECT_TRUE(selector->portData.connect(source));
    selector->fire();
  }

  void setVisible(const char* name, bool visible) {
    selector->portRoiVisibility.setRoiVisible(visible, name);
    selector->fire();
  }

  static std::vector<std::string> namesOf(const HxRoiSelector& selector) {
    std::vector<std::string> names;
    for (const Mask* mask : selector.getVisibleMasks()) names.push_back(mask->name());
    return names;
  }
  std::vector<std::string> visibleNames() const { return namesOf(*selector); }

  const McHandle<HxRoiSelector> selector{new HxRoiSelector};
  HxISetOfVolumeMask* renderer = nullptr;
};
