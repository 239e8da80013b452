#pragma once

#include <QString>
#include <exception>
#include <tcl.h>
#include <vector>

#include "hxroi/HxPortRoiTreeView.h"
#include "hxroi/export.h"
#include "quarn/base/McTypedClass.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/ports/HxConnection.h"

class HxRois;

namespace hxroi::details {
class Mask;
}

/// A choice of masks of one ROI set: shows the set as a tree with check boxes, and keeps the list of masks that are
/// checked. Renderers and modules work on that list.
///
/// Several selectors may show one set, each with a choice of its own. The choice is a port's and saved with networks;
/// the object holds nothing that would need a file. For the user-interface thread.
class HXROI_API HxRoiSelector : public HxData {
public:
  MC_CLASS_DECL(HxRoiSelector)

  using MaskList = std::vector<const hxroi::details::Mask*>;

  /// The tree of a selector: a new connection, and a set that has changed, is looked at before a state or a script
  /// command asks for its ROIs.
  class HXROI_API RoiVisibility : public HxPortRoiTreeView {
  public:
    explicit RoiVisibility(HxRoiSelector& selector);

    /// ROIs of a set that a module, a provider, or a file without identifiers makes anew are kept by their names: their
    /// identifiers will be others. Leaves `state` alone while a new connection was not looked at: nothing was chosen
    /// yet.
    void getState(QString& state) const override;
    /// The choice counts, too, when the first look at the set fails; the failure comes out after that, as of parse().
    bool setState(const QString& state) override;
    int parse(Tcl_Interp* interp, int argc, char** argv) override;

  private:
    bool isMadeAnew(HxRois* rois) const;

    HxRoiSelector& selector_;
  };

  HxRoiSelector();

  /// The set at "data", or the one that the object there provides; null when there is none. The first request may
  /// convert a label field; an exception of the conversion comes out once.
  HxRois* getHxRois() const;

  /// The masks that were visible at the last evaluation, in the order of the set. One that has left the set since then
  /// may be dead: look it up there before it is used.
  const MaskList& getVisibleMasks() const { return visibleMasks_; }

  void update() override;
  /// Appends the visible masks of `rois` to the list: groups give their visible members.
  void gatherMasks(HxRois* rois);
  /// Evaluates the set and the selector, and nothing else that is connected to them, when something has changed since
  /// they were evaluated. What the evaluations throw comes out when both are done, that of the set first.
  void catchUp();

  /// Only a change of the voxels that are visible advances the touch time.
  void touch(unsigned int flags) override;
  /// Nothing needs saving.
  void setModified(unsigned int flags) override;

  HxConnection portData;  ///< a ROI set, or what provides one
  RoiVisibility portRoiVisibility;

protected:
  ~HxRoiSelector() override;

private:
  void showSet();
  std::exception_ptr tryToCatchUp();
  void passOnFailed();

  MaskList visibleMasks_;
  bool isCatchingUp_ = false;
  unsigned int owed_ = 0;  ///< marks that what is connected has seen but was not evaluated for
};
