#pragma once

#include <atomic>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "hxroi/details/ColormapReference.h"
#include "hxroi/export.h"
#include "quarn/base/McColor.h"
#include "quarn/base/McHandable.h"
#include "quarn/kernel/params/HxParamBundle.h"

class HxColormap;
class HxRois;
struct Tcl_Interp;

namespace hxroi::details {

class Group;

/// What masks and groups have in common: a name, an identifier that no other ROI has, colours, parameters of the user,
/// a parent group, and the ROI sets that hold it.
///
/// Every change is told to those sets by `touch(flags)`: 8 voxel content, 16 name, 32 colormap range, 64 property,
/// 128 colour, 2048 colormap, 5 alpha. Names and identifiers are Latin-1. Everything belongs to the user-interface
/// thread, except `touch` and `nextHtmlColor`, which may be called from any.
class HXROI_API Roi : public McHandable {
public:
  /// Finds a ROI by its name, in containers of ROIs, pointers or handles.
  class EqualName {
  public:
    explicit EqualName(std::string name) : name_(std::move(name)) {}
    bool operator()(const Roi& roi) const { return roi.name() == name_; }
    template <class Pointer>
    requires requires(const Pointer& roi) { *roi; }
    bool operator()(const Pointer& roi) const { return roi->name() == name_; }

  private:
    std::string name_;
  };

  using Owners = std::set<HxRois*>;

  /// `colormap` may be null and is not owned. Throws McException for an empty name, and for one with characters other
  /// than letters, digits, "_" and "-".
  Roi(const std::string& name, const McColor& color, const HxColormap* colormap);

  /// Takes over the colours and parameters of `other`, but neither its identifier nor its parent or sets.
  Roi(const std::string& name, const Roi& other);

  ~Roi() override;

  /// The script words of a ROI: "parameters ...". Returns TCL_OK or TCL_ERROR.
  virtual int parse(Tcl_Interp* interp, int argc, char** argv);

  /// The ROI has entered or left a set. Only the set calls these, and a group for its members. McException when it was
  /// in that set already, or never.
  virtual void notifyAddedToHxRois(HxRois* rois);
  virtual void notifyRemovedFromHxRois(HxRois* rois);

  /// The set dies with the ROI in it, which could not be told.
  void forgetHxRois(HxRois* rois) { m_owners.erase(rois); }

  /// Tells the sets of a change; with flag value 8 the ROI gets a new time stamp after that. Marks only.
  virtual void touch(int flags);

  std::string name() const;

  /// Renames the ROI here and in its sets, each of which may refuse by McException; sets that were asked before the
  /// refusing one are not asked again. The present name is no change and tells nobody.
  void setName(const std::string& newName);

  /// `name` as the host would normalise it; a legal name stays as it is.
  static std::string fixedName(const std::string& name);

  /// Random UUID in its canonical text form. Kept through saving by `setId`.
  std::string id() const;
  void setId(const std::string& id);

  /// Display values. With `inherit` those of the parent group win, where there is one. The colormap is not owned; one
  /// that has gone reads null.
  McColor color(bool inherit = true) const;
  const HxColormap* colormap(bool inherit) const;
  std::pair<float, float> colormapRange(bool inherit) const;
  bool isAlphaEnabled() const { return m_alphaEnabled; }

  /// Each change sends its own touch flag; setting what is set already sends nothing. A colormap that changed in itself
  /// since it was set counts as a change.
  void setColor(const McColor& color);
  void setColormap(const HxColormap* colormap);
  void setColormapRange(const std::pair<float, float>& range);
  void setAlphaEnabled(bool enabled);

  Group* parent() { return m_parent; }
  const Group* parent() const { return m_parent; }
  /// Called by the group and by the set; the parent is not owned.
  void setParent(Group* parent) { m_parent = parent; }

  /// Creates or overwrites a parameter.
  void setProperty(const std::string& key, const std::string& value);
  void setProperty(const std::string& key, const char* value) { setProperty(key, std::string(value)); }
  void setProperty(const std::string& key, int value);
  void setProperty(const std::string& key, float value);

  /// Reads a parameter; with `inherit` the parent's answer wins and the ROI's own value is taken only when the parent
  /// has none. McException when there is none, or it is of another type.
  std::string stringProperty(const std::string& key, bool inherit) const;
  int intProperty(const std::string& key, bool inherit) const;
  float floatProperty(const std::string& key, bool inherit) const;

  HxParamBundle& parameters() { return m_parameters; }
  const HxParamBundle& parameters() const { return m_parameters; }

  /// The sets that hold this ROI, by address.
  const Owners& owners() const { return m_owners; }

  /// A number that orders the versions of all ROIs by content; new at construction and after each touch with 8,
  /// and never smaller than before.
  std::uint64_t timeStamp() const { return m_timeStamp.load(std::memory_order_acquire); }

  /// The next colour for a ROI that was given none; no two callers get the same one until the sequence repeats.
  static McColor nextHtmlColor();

protected:
  /// Member by member; sets and parent are copied too, without telling them.
  Roi(const Roi& other);
  Roi& operator=(const Roi&) = delete;

private:
  void renewTimeStamp();
  void commonInit(const std::string& name);

  template <class T>
  T property(const std::string& key, bool inherit, T (Roi::*read)(const std::string&, bool) const,
             bool (HxParamBundle::*find)(std::string_view, T&) const, const char* missing) const;

  std::atomic<std::uint64_t> m_timeStamp;
  HxParamBundle m_parameters;
  Group* m_parent = nullptr;
  Owners m_owners;
  McColor m_color;
  ColormapReference m_colormap;
  std::uint32_t m_colormapTouchTime;
  std::pair<float, float> m_colormapRange{0.0F, 1.0F};
  bool m_alphaEnabled = true;
};

}  // namespace hxroi::details
