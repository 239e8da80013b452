#pragma once

#include <QString>
#include <boost/filesystem/path.hpp>
#include <concepts>
#include <cstddef>
#include <cstdio>
#include <iterator>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hxroi/HxPortRoiTreeView.h"
#include "hxroi/export.h"
#include "quarn/base/McHandle.h"
#include "quarn/base/McTypedClass.h"
#include "quarn/base/McVec3i.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/objects/HxObjectPoolListener.h"
#include "quarn/kernel/ports/HxConnection.h"
#include "quarn/kernel/ports/HxConnectionChecker.h"
#include "quarn/kernel/ports/HxPortColorList.h"
#include "quarn/kernel/ports/HxPortColormap.h"
#include "quarn/kernel/ports/HxPortRadioBox.h"
#include "quarn/kernel/ports/HxPortSeparator.h"

class HxParamBundle;
class HxUniformLabelField3;
class McProgressInterface;
class QuarnMesh;
struct Tcl_Interp;

namespace hxroi {
class SetOrigin;
}

namespace hxroi::details {
class Group;
class Mask;
class Roi;
}  // namespace hxroi::details

/// An ordered set of regions of interest over one voxel grid: masks and groups of masks.
///
/// The set enforces what its ROIs have in common: names are unique (letter case counts), all masks have one grid, and
/// there are at most `kMaximumNumberOfMasks` of them, group members included. The first mask fixes the grid, the last
/// one to leave frees it. Top-level ROIs are owned through handles; members are owned by their group.
///
/// Refusals are `McException` and leave the set as it was. Everything belongs to the user-interface thread, except
/// `touch`, which may come from any thread. A set must die on the user-interface thread.
class HXROI_API HxRois : public HxData, public HxObjectPoolListener {
public:
  MC_CLASS_DECL(HxRois)

  using RoiHandle = McHandle<hxroi::details::Roi>;
  using RoiList = std::vector<RoiHandle>;
  using MaskList = std::list<const hxroi::details::Mask*>;

  /// Rule for the "data" connection of a set: the source is a uniform scalar field on the grid of the set's masks.
  class HXROI_API PortDataConnectionCheck : public HxConnectionChecker {
  public:
    /// `rois` is not owned and outlives the rule.
    explicit PortDataConnectionCheck(const HxRois* rois) : rois_(rois) {}

    /// False when `ensureCompatibleWith` refuses `object`.
    bool operator()(const HxObject* object) override;

    /// The text of that refusal.
    QString reason(const HxObject* object) const override;

    /// Throws McException when `object` is no uniform scalar field or does not fit the first mask of the set.
    void ensureCompatibleWith(const HxObject* object) const;

  private:
    const HxRois* rois_;
  };

  class ColorInformation;

  static constexpr std::size_t kMaximumNumberOfMasks = 100;

  /// Buttons of the port "overlappingRenderingStyle".
  static constexpr int kVolumeStyle = 0;
  static constexpr int kBoundaryStyle = 1;

  /// A mask that has no other owner.
  struct HXROI_API MaskDeleter {
    void operator()(hxroi::details::Mask* mask) const;
  };
  using MaskHolder = std::unique_ptr<hxroi::details::Mask, MaskDeleter>;

  HxRois();

  // --- Looking up -----------------------------------------------------------------------------------------------

  /// The ROI of that name, members of groups included; null when there is none.
  hxroi::details::Roi* getRoi(const std::string& name) const;
  hxroi::details::Roi* operator[](const std::string& name) const { return getRoi(name); }

  /// The mask, or group, of that name; null when there is none or it is of the other kind.
  hxroi::details::Mask* getMask(const std::string& name) const;
  /// McException when there is no mask of that name.
  const hxroi::details::Mask& namedMask(const std::string& name) const;
  hxroi::details::Group* getGroup(const std::string& name) const;

  bool containsRoi(const hxroi::details::Roi* roi) const;

  /// Number of top-level entries.
  std::size_t getNumberOfRois() const { return rois_.size(); }

  /// Number of masks, group members included.
  std::size_t getNumberOfMasks() const { return masks_.size(); }

  /// The top-level entries in user order.
  RoiList::const_iterator begin() const { return rois_.begin(); }
  RoiList::const_iterator end() const { return rois_.end(); }

  /// Every mask of the set, group members included, in order of acceptance. Not owned by the list.
  const MaskList& masks() const { return masks_; }

  /// The same masks in user order, for callers that change them.
  std::vector<hxroi::details::Mask*> editableMasks() const;

  /// Voxels along x, y, z. Throws McException when the set holds no mask.
  const McVec3i& dimensions() const;

  /// World box (xmin, xmax, ymin, ymax, zmin, zmax) of the field at "data" or, without one, of the masks at the place
  /// that the set remembers; the empty box when it lies nowhere.
  void getBoundingBox(float box[6]) override;

  // --- Membership -----------------------------------------------------------------------------------------------

  /// Appends `roi`. A refused ROI stays the caller's.
  void addRoi(hxroi::details::Roi* roi);

  /// Inserts `roi` before the top-level entry `position`; a position behind the end appends.
  void insertRoi(hxroi::details::Roi* roi, unsigned long position);

  /// Takes a top-level ROI out and hands it to the caller. Members leave through their group.
  RoiHandle removeRoi(const std::string& name);

  void removeAllRois();

  /// Puts `newRoi` in the place of the top-level ROI `name` and hands that one to the caller. When `newRoi` is refused
  /// the old ROI is put back.
  RoiHandle replaceRoi(const std::string& name, hxroi::details::Roi* newRoi);

  /// Called for every ROI that is about to enter, leave or be renamed: by the set itself and by groups and ROIs that
  /// belong to it. Each checks the rules of the set first and throws McException before anything is changed.
  void notifyRoiAdd(hxroi::details::Roi* roi);
  hxroi::details::Roi* notifyRoiRemove(const std::string& name);
  void notifyRoiRename(const std::string& oldName, const std::string& newName);

  // --- Names ----------------------------------------------------------------------------------------------------

  /// Whether no ROI of the set has that name, letter case ignored (stricter than insertion).
  bool isNameUnique(const std::string& name) const;

  /// `name` when it is unique, else its stem without trailing digits followed by the first free number from 0.
  std::string getUniqueName(const std::string& name) const;

  // --- Set algebra; results are new, belong to the caller and are not inserted -----------------------------------

  /// Union of the named masks, named after the first one. Throws McException when a name is not a mask of the set.
  template <std::input_iterator Iterator>
  requires std::convertible_to<std::iter_reference_t<Iterator>, std::string> hxroi::details::Mask* mergeMasks(
      Iterator first, Iterator last) const {
    return mergeNamedMasks(std::vector<std::string>(first, last));
  }
  hxroi::details::Mask* mergeMasks(const std::string& targetName, const std::vector<std::string>& names) const;

  /// The first named mask without the voxels of all others. Throws McException as `mergeMasks`.
  template <std::input_iterator Iterator>
  requires std::convertible_to<std::iter_reference_t<Iterator>, std::string> hxroi::details::Mask* substractMasks(
      Iterator first, Iterator last) const {
    return substractNamedMasks(std::vector<std::string>(first, last));
  }
  hxroi::details::Mask* substractMasks(const std::string& fromName, const std::vector<std::string>& names) const;

  /// Writes a new mask for each component of the mask `name` to `out` (see Mask::split), as many as the set may still
  /// get, and one more with the rest when there are more. They belong to the caller. Nothing is written when
  /// `progress`, which may be null, was interrupted. Throws McException when the set is full or has no such mask.
  template <class OutputIterator>
  OutputIterator splitMask(const std::string& name, OutputIterator out, McProgressInterface* progress) const {
    std::vector<MaskHolder> masks = splitNamedMask(name, progress);
    for (MaskHolder& mask : masks) *out++ = mask.release();
    return out;
  }

  /// Inserts copies of all masks of `other`, groups flattened, with their material records. Names that the set has
  /// already are skipped silently.
  void copyAllMasksFrom(HxRois* other);
  void copyAllMasksFrom(const hxroi::details::Roi* roi, const HxParamBundle* materials);

  /// Copies `bundle` into the "Materials" of the set, under its own name.
  void copyBundle(const HxParamBundle* bundle);

  /// Adds one mask made of the voxels labelled 1. A field that is not binary or of another grid is refused with
  /// McException; a refusal by the rules of the set is printed to the console and ends the call.
  void createAndInsertRoiFromBinaryLabelField(HxUniformLabelField3* field);

  // --- Files ----------------------------------------------------------------------------------------------------

  /// Saves the set to `filename` and its masks into the folder named after it, all in one step: whoever loads them gets
  /// the old set or the new one, also when the process ends in between. The two flags choose the flavour of the header.
  /// Returns 1, or 0 after the reason was printed and, unless the user interrupted, an I/O error reported; nothing has
  /// changed then, or the text says that the set is saved and the next to open it has to finish that. A mask that
  /// cannot be written is reported and skipped: its last good files stay, or it is left out when it has none, and the
  /// set stays modified. Refused are a set that could not be loaded again, one whose masks belong to another set file
  /// too, and a file that this set was loaded from or saved to and that somebody else has saved since.
  int write(const char* filename, bool flagA, bool flagB);
  int writeQuarnMesh(const char* filename) { return write(filename, true, false); }
  int writeZelto(const char* filename) { return write(filename, false, false); }
  int writeMivro(const char* filename) { return write(filename, false, true); }

  /// Reads a parsed set file into this empty set; an older set is upgraded before (see upgradeRois). A save that was
  /// interrupted is finished before; when the file holds something else now than when `mesh` was read from it, the
  /// present content counts. `registerName` is the name under which the caller registers it; after an upgrade it
  /// becomes the new file. Returns 1, or 0 after all ROIs that cannot be loaded were printed, a line each; the set then
  /// holds those before the first of them.
  int readQuarnMesh(QuarnMesh* mesh, const char* filename, QString& registerName);

  /// Reader entry: a new set is filled and registered; on failure an I/O error is reported and the result is 0.
  static int readQuarnMesh_s(QuarnMesh* mesh, const char* filename);

  /// Brings a set whose masks have files of the older layout to the present one: asks the user where to, unless
  /// replaceExistingROIsWhenUpgrading(), the environment variable RUNNING_TEST or the preference "Upgrade Older Files"
  /// answers for him, writes a new set file and new masks, and leaves the old files as they are, under other names when
  /// they are replaced. `mesh` then holds what the new file holds, and `registerName` becomes its name. Other sets stay
  /// untouched. Returns false when the user does not want to: the set cannot be loaded then. Throws McException when
  /// the upgrade fails, with everything as it was.
  bool upgradeRois(QuarnMesh* mesh, const char* filename, QString& registerName);

  /// Whether upgrades of older sets take their place without asking; not so at the start.
  static void replaceExistingROIsWhenUpgrading(bool replace);

  /// The path, without extension, of the files that the bundle of a mask names. Throws McException when it names none.
  boost::filesystem::path extractLdmFilenameFromBundle(const boost::filesystem::path& masksDir,
                                                       const HxParamBundle* maskBundle) const;

  /// The same for the members of a group, in their order.
  std::vector<boost::filesystem::path> extractFilenamesFromGroup(const boost::filesystem::path& masksDir,
                                                                 const HxParamBundle* groupBundle) const;

  /// Writes the files of one ROI below `masksDir` and returns its description for the set file; the caller owns it.
  /// A mask that cannot be written is reported on the console. So is a parameter of a group that its description cannot
  /// hold, because a member has its name or because it would be read as a mask; it is left out.
  HxParamBundle* saveMask(const std::string& masksDir, hxroi::details::Mask* mask) const;
  HxParamBundle* saveGroup(const std::string& masksDir, const hxroi::details::Group* group) const;

  /// Makes the described ROI; the caller owns it. Throws McException naming bundle, element and value; for a group all
  /// members that fail are told, a line each.
  hxroi::details::Mask* loadMask(const boost::filesystem::path& masksDir, const HxParamBundle* bundle) const;
  hxroi::details::Group* loadGroup(const boost::filesystem::path& masksDir, const HxParamBundle* bundle) const;

  /// Whether the header of a tiled volume declares tile borders.
  bool hasBorders(const std::string& ldmFile) const;

  /// Writes pending edits of every mask to its temporary files; `final` rebuilds the lower resolution levels too. All
  /// masks are tried before the first failure is thrown.
  void flush(bool final);

  // --- Host -----------------------------------------------------------------------------------------------------

  /// Brings the ports in step with the ROIs: after a change of content (flag value 8) every ROI gets ports of its own
  /// anew, "color-" and "colormap-" with its name behind; after one of the display (1, 4, 32, 128, 2048) they show the
  /// present values. Those of the ROI that is selected alone are visible. The ports for overlaps follow the rendering
  /// style; a change of them raises 0x2000 | 0x4000 | 0x8000.
  void update() override;

  /// Makes the ports of all ROIs anew, with their present values and without marks, after compute().
  void rebuildPortList();

  /// Gives the ROIs what was changed in their ports.
  void compute() override;

  /// Marks only. The touch time advances for content (flag value 8) alone.
  void touch(unsigned int flags = 0xFFFFFFFFu) override;

  /// Content, names, properties and colours make the set need saving; flags without any of these mark it saved. As the
  /// host asks with all flags since the last save, other changes alone never make a set need saving, and never make one
  /// saved that does.
  void setModified(unsigned int flags) override;

  /// Nobody changes the connections while the set is edited.
  void onEditorChanged() override;
  bool acceptConnection(HxConnection* connection, HxObject* source) override;
  void saveCreation(FILE* file, const char* directory, unsigned int flags) override;
  /// The files of all masks in the file of the set.
  void requireCompanionFiles() const override;

  /// Whether the set was loaded from or saved to a set file, which keeps the identifiers of its ROIs. Packages make
  /// sets from files of other kinds, too.
  bool isFromSetFile() const;

  /// The set, when it is the one selected, is evaluated.
  void objectSelected(HxObject* object) override;
  /// ROIs do not own their colormaps: those that show `object` show none from now on.
  void objectAboutToBeRemoved(HxObject* object) override;

  int parse(Tcl_Interp* interp, int argc, char** argv) override;

  /// The field over whose grid the masks are defined.
  HxConnection portData;

  /// How voxels that several masks share are shown.
  HxPortSeparator portOverlappingProperties;
  HxPortRadioBox portOverlappingRenderingStyle;
  HxPortColorList portOverlappingBoundaryColor;
  HxPortColormap portOverlappingVoltexColormap;
  HxPortSeparator portRoiProperties;
  /// The tree of the set.
  HxPortRoiTreeView portRoiVisibility;

protected:
  ~HxRois() override;

private:
  using Index = std::map<std::string, hxroi::details::Roi*>;

  Index::const_iterator findIndexed(const std::string& name) const;
  const std::string& indexedName(const hxroi::details::Roi& roi) const;
  RoiList::const_iterator findTopLevel(const std::string& name) const;
  void checkNameIsFree(const std::string& name) const;
  void checkGroupNames(const hxroi::details::Group& group) const;
  void checkMaskFits(const hxroi::details::Mask& mask) const;
  void enterMask(const hxroi::details::Mask* mask);
  void leaveMask(const hxroi::details::Mask* mask);

  std::vector<const hxroi::details::Mask*> namedMasks(const std::vector<std::string>& names) const;
  hxroi::details::Mask* mergeNamedMasks(const std::vector<std::string>& names) const;
  hxroi::details::Mask* substractNamedMasks(const std::vector<std::string>& names) const;
  std::vector<MaskHolder> splitNamedMask(const std::string& name, McProgressInterface* progress) const;

  bool applyPortChanges();
  void showPortsOfSelectedRoi();
  void forgetColorPorts(const std::string& name);
  void renameColorPorts(const std::string& oldName, const std::string& newName);
  void masksChanged();

  void saveTo(const char* filename, bool flagA, bool flagB);
  void load(const QuarnMesh& parsed, const boost::filesystem::path& file);
  void fill(const HxParamBundle& content, const boost::filesystem::path& file);
  hxroi::details::Roi* loadRoi(const boost::filesystem::path& masksDir, const HxParamBundle* bundle) const;
  void addLoaded(hxroi::details::Roi* roi, const boost::filesystem::path& file);
  std::vector<boost::filesystem::path> maskFiles(const boost::filesystem::path& masksDir,
                                                 const HxParamBundle& setParameters) const;

  static bool s_replaceExistingROIsWhenUpgrading;

  PortDataConnectionCheck dataCheck_;
  std::optional<McVec3i> dimensions_;
  RoiList rois_;
  Index index_;  ///< by the names that the set knows, which a renaming that another set refused parts from their own
  MaskList masks_;
  std::map<std::string, std::unique_ptr<ColorInformation>> colorPorts_;
  ColorInformation* shownPorts_ = nullptr;          ///< those of the ROI that is selected alone
  bool isRegistered_ = false;                       ///< in the registry of volume data
  std::shared_ptr<const hxroi::SetOrigin> origin_;  ///< what was loaded or saved last; null when that is not known
};
