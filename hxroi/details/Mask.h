#pragma once

#include <atomic>
#include <boost/filesystem/path.hpp>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "hxroi/details/BitReference.h"
#include "hxroi/details/BoxCache.h"
#include "hxroi/details/MaskBitfields.h"
#include "hxroi/details/Roi.h"
#include "hxroi/details/boxes.h"
#include "hxroi/export.h"
#include "quarn/base/McBox3f.h"
#include "quarn/base/McBox3i.h"
#include "quarn/base/McMutex.h"
#include "quarn/base/McVec3i.h"
#include "quarn/voxora/bits/TruthTable.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/tiles/WorkCallback.h"

class HxUniformLabelField3;
class HxUniformScalarField3;
class McBitfield;
class McProgressInterface;
class SoVolumeMask;

namespace hxvoxora {
class TileSnapshot;
}

namespace hxroi::details {

class BoxProxy;

/// A named binary voxel mask over the grid of a uniform field.
///
/// The voxels are the bits of a tiled volume, `volumeMask()`, and are read and written box by box through BoxProxy, or
/// as a whole by the operators below. Boxes are in voxels with inclusive bounds, x first.
///
/// *Storage.* A mask owns private files in the temporary storage, named by `temporaryPrefix()`; they are written by
/// `flush` and removed with the mask. A mask read from a file of the user is borrowed: it reads that file in place and
/// moves to files of its own before its first change, so that a user's file is never edited. Without a usable temporary
/// folder the prefix is empty, edits stay in memory, and no file is made or removed anywhere.
///
/// *Boxes.* Two boxes are remembered while the voxels stay as they are: the exact box of the set voxels, and a box
/// known to hold them all. Operators work on these boxes only, and `getBoundingBox` scans only when it must. A mask
/// that was created full remembers an empty exact box until its content changes.
///
/// *Threads.* One caller at a time, except that box views may be made and ended in several threads (write-back is
/// serialised by the mask), that `touch` may come from any thread, and the read-only operations too while nobody
/// writes. No lock is held while another mask is called.
///
/// Failures are McException; the mask is then as before.
class HXROI_API Mask : public Roi {
public:
  using path = boost::filesystem::path;
  using reference = BitReference;

  // --- Life -----------------------------------------------------------------------------------------------------

  /// A new mask with every voxel `initialValue`, in new temporary files. `dimensions` are positive.
  Mask(const std::string& name, const McVec3i& dimensions, bool initialValue, const McColor& color,
       const HxColormap* colormap);

  /// A new mask with the voxels, boxes, colours and parameters of `other`, in new temporary files.
  Mask(const std::string& name, const Mask& other);

  /// Borrows the file that `volumeMask` reads; takes a reference to the node. Box elements of its header are taken over
  /// when they are the empty box or lie inside the grid, others are dropped with a line on the console.
  Mask(const std::string& name, SoVolumeMask* volumeMask, const McColor& color, const HxColormap* colormap);

  /// Member by member; the copy shares the node without a reference of its own, so it must not be used once the
  /// original is gone. It never removes files.
  Mask(const Mask& other);

  /// Releases the node. The temporary files go with the last holder of the node.
  ~Mask() override;

  /// A borrowed mask over prefix + ".ldm", with a colour drawn from the sequence of ROI colours. The caller owns it.
  /// McException when the file cannot be read.
  static Mask* loadFromFile(const std::string& name, const path& prefix);

  // --- Content --------------------------------------------------------------------------------------------------

  const McVec3i& dimensions() const { return m_dimensions; }

  /// The node with the voxels; never null, owned by the mask.
  SoVolumeMask* volumeMask() const { return m_volumeMask; }

  /// Views on the whole mask or on the box of `size` voxels at `origin`. A const mask gives read-only views, whatever
  /// the mode. A view that may write moves a borrowed mask to files of its own first.
  BoxProxy getConstBox() const;
  BoxProxy getConstBox(const McVec3i& origin, const McVec3i& size) const;
  BoxProxy getBox(AccessMode mode) const;
  BoxProxy getBox(const McVec3i& origin, const McVec3i& size, AccessMode mode) const;
  BoxProxy getBox(const McVec3i& origin, const McVec3i& size, AccessMode mode);
  /// Always for reading and writing, whatever the mode.
  BoxProxy getBox(AccessMode mode);

  /// Sets every voxel. The exact box is known afterwards.
  Mask& operator=(bool value);

  /// Takes over dimensions and voxels, not name, colours or parameters. McException when the sizes differ and a ROI set
  /// holds this mask.
  Mask& operator=(const Mask& other);

  /// Flag value 8, or `contentChanged`, forgets both remembered boxes. Any thread.
  void touch(int flags) override;
  virtual void touch(int flags, bool contentChanged);

  /// McException unless both have the same dimensions and the same tile size along x.
  void ensureCompatibleWith(const Mask& other) const;
  void ensureCompatibleWith(const HxUniformScalarField3& field) const;

  // --- Algebra --------------------------------------------------------------------------------------------------

  /// Voxel by voxel in place: and-not, exclusive or, or, and. `other` has the same dimensions.
  Mask& operator-=(const Mask& other);
  Mask& operator^=(const Mask& other);
  Mask& operator|=(const Mask& other);
  Mask& operator&=(const Mask& other);

  /// The same as a new mask, named after both: this name, "-minus-", "-xor-", "-or-" or "-and-", the other name.
  Mask operator-(const Mask& other) const;
  Mask operator^(const Mask& other) const;
  Mask operator|(const Mask& other) const;
  Mask operator&(const Mask& other) const;

  /// Inverts every voxel; no box is known afterwards.
  Mask& negate();

  /// Grows the set voxels by their six face neighbours, or clears those that have a clear one, so many times. What lies
  /// outside of the mask is clear. A remembered box, exact or not, grows or shrinks by one voxel on every side whatever
  /// `iterations` is, and stays empty when it is empty.
  Mask& dilate(unsigned long iterations);
  Mask& erode(unsigned long iterations);

  /// The same with progress, which may be null: setValue() is called and isInterrupted() asked every tenth of a second;
  /// nothing that they do may change this mask. False when interrupted: the mask is then as before.
  bool dilate(unsigned long iterations, McProgressInterface* progress);
  bool erode(unsigned long iterations, McProgressInterface* progress);

  /// Takes over the voxels of `other`, which has the same dimensions: by copying its files when it has no pending
  /// edits and they are still there, else voxel by voxel. From an empty mask, or one that was never written, only the
  /// box is taken; the voxels here stay.
  void store(const Mask& other);

  /// Takes over the voxels of a volume of the same size; tiles are shared. No box is known afterwards.
  void setContent(const hxvoxora::TileSnapshot& content);

  /// Adds copies of the parameters that this mask does not have; with `recursive` inside bundles of equal name too.
  void mergeParameters(const Mask& other, bool recursive);

  // --- Bounding boxes -------------------------------------------------------------------------------------------

  /// The exact box of the set voxels; computed when it is not known, and remembered.
  McBox3i getBoundingBox() const;

  /// The exact box in the units of `dataBox`, the box of the field; both corners half a voxel down. Empty for no voxel.
  McBox3f getBoundingBox(const McBox3f& dataBox) const;

  /// Whether no voxel is set.
  bool empty() const;

  /// Remember `box`, clipped to the mask, as exact box or as a box that holds all set voxels; forgets the other kind.
  void setBoundingBox(const McBox3i& box);
  void setApproximatedBoundingBox(const McBox3i& box);

  /// What is remembered now.
  std::optional<McBox3i> cachedBoundingBox() const { return m_boundingBox.get(); }
  std::optional<McBox3i> cachedApproximatedBoundingBox() const { return m_approximatedBoundingBox.get(); }

  // --- Connected components -------------------------------------------------------------------------------------

  /// New masks, one for each component of set voxels that hang together through faces, in the order of their first
  /// voxels (x fastest). The caller owns them. Each has the size, colormap range and parameters of this mask, a colour
  /// of its own, the name of this mask with "-splitted-component0" behind it, its box, and files of its own.
  ///
  /// At most `maxComponents` are made, and never more than 253; 0 stands for 253. A warning tells when there are more:
  /// all further voxels become one mask, which comes first and remembers the box of this mask as one that holds them.
  ///
  /// `progress`, which may be null, tells "Computing split" with the number of components, then "Saving splits". It is
  /// asked before, after each component, and now and then during long work. Interrupted before "Saving splits", the
  /// result is empty; after that, all masks are returned, those not filled by then empty.
  ///
  /// The switch MULTI_THREADED_ROIS_CREATION of the environment fills several masks at once; the result is the same.
  /// Memory follows the number of components and the tiles at work, not the size of the mask.
  std::vector<Mask*> split(unsigned long maxComponents, McProgressInterface* progress) const;

  /// The same components as 8-bit labels over the bounding box: 0 for clear voxels, 2, 3, ... for the components in
  /// their order, 1 for the voxels of all further ones. `boxes` gets the box of each label, in voxels of the field;
  /// that of 1 is empty as soon as there is a component. The field has no owner; null when `progress` was interrupted
  /// and for a mask without voxels.
  HxUniformLabelField3* splitToUniformLabelField3(std::map<int, McBox3i>& boxes, unsigned long maxComponents,
                                                  McProgressInterface* progress) const;

  /// A new mask with the component of `view` that holds `seed`; empty when that voxel is clear or outside. It has size
  /// and name as one of `split` and a colour of its own. Its voxels have the coordinates that they have in the view,
  /// which must fit into this mask, else McException. The caller owns it.
  Mask* getFirstConnectedComponent(BoxProxy view, McVec3i seed) const;

  // --- Files ----------------------------------------------------------------------------------------------------

  /// Flags of `flush`, to be combined.
  enum FlushFlag : int {
    Force = 1,     ///< write a mask that has no file yet even when nothing is pending: as all zeros
    AllLevels = 2  ///< rebuild the lower resolution levels
  };

  /// Writes pending edits of an owned mask to its temporary files; with `Force` also voxels whose file was removed or
  /// replaced by somebody else.
  void flush(int flags) const;

  /// The same; false when `callback` gave up, and the edits are pending still. It may be called from any thread, one
  /// call at a time.
  bool flush(int flags, const hxvoxora::WorkCallback& callback) const;

  /// Brings the temporary files to the present state and name, so that the mask could be recovered from them alone. A
  /// mask that reads a file of the user has none and needs none; nor does one that was created empty and never written.
  void checkpoint();

  /// The temporary files outlive the mask and the process, which leaves them to be recovered.
  void keepFiles();

  /// Writes voxels and remembered boxes to prefix + ".ldm", ".dat" and ".fcp", each written beside and renamed, the
  /// header last. The voxels are those that the mask shows, also when somebody gave its files' names to others or when
  /// there is no temporary folder.
  void writeToFile(const path& prefix);

  /// The same; false when `goOn`, which is asked again and again while files are copied, gave up: nothing is written
  /// then.
  bool writeToFile(const path& prefix, const hxvoxora::WorkCallback& goOn);

  /// Whether prefix + ".ldm" is the very file that the mask borrowed, with nothing changed since in the mask or the
  /// file.
  bool readsUnchanged(const path& prefix) const;

  /// Moves a borrowed mask to files of its own; does nothing for an owned one.
  void saveMaskToTemporary();

  bool ownsTemporaryFiles() const { return m_ownsTemporaryFiles.load(std::memory_order_acquire); }

  /// Path without extension of the mask's own files, whether they exist or not; empty without a temporary folder.
  const std::string& temporaryPrefix() const { return m_temporaryPrefix; }

  /// A prefix that nobody else gets, in the folder "tmp-masks" of the temporary storage. No file is made. When the
  /// folder cannot be used a critical message is shown, the application is asked to end, and the text is empty.
  static std::string getTemporaryPrefix();

  /// Gives the mask a fresh prefix; files of the former one are left to the caller.
  void setupTemporaryStorage();

  /// Removes prefix + ".ldm", ".dat" and ".fcp", as far as they exist. Does nothing for an empty prefix.
  static void removeTemporaryFiles(const path& prefix);

  /// Copies the files of a mask; the copied header names the copied files. Source and target may be the same.
  /// McException for an empty prefix and for a header that names files outside its folder.
  static void copyMask(const path& sourcePrefix, const path& targetPrefix);

private:
  using Access = hxvoxora::FileSystem::Access;
  using Durability = hxvoxora::FileSystem::Durability;

  Mask(const std::string& name, const McColor& color, const HxColormap* colormap, const McVec3i& dimensions);
  Mask(const std::string& name, const Roi& properties, const McVec3i& dimensions);

  void createVolume(bool initialValue);
  void restartVolume(const McVec3i& dimensions);
  void changeDimensions(const McVec3i& dimensions);
  void assignResized(const Mask& other);
  void adoptHeaderBoxes();
  void adoptHeaderBox(const char* tag, BoxCache& cache);

  bool hasOwnFiles() const { return ownsTemporaryFiles() || m_filesUnderPrefix; }
  static void removeFiles(const std::string& prefix) noexcept;
  void removeOwnFiles() noexcept { removeFiles(m_temporaryPrefix); }
  void setTemporaryPrefix(const std::string& prefix);
  void moveToTemporaryFiles();
  void bindTo(const std::string& ldmFile);
  void writeEveryTile() const;
  void countAsEdited() const;
  std::string contentName() const;
  bool isUnwrittenFull() const;
  bool hasFileOfFormerName() const;
  void writeUnwrittenFull() const;
  bool copyContent(const std::string& prefix, Access access, Durability durability,
                   const hxvoxora::WorkCallback& goOn) const;
  bool hasContent() const;

  McBox3i wholeMaskBox() const { return wholeBox(m_dimensions); }
  McBox3i knownBox() const;
  void forgetBoxes();
  void combine(const McBox3i& region, const Mask& other, hxvoxora::TruthTable f);
  void setVoxels(const McBitfield& bits);
  enum class Growth { Dilation, Erosion };
  bool grow(unsigned long iterations, Growth growth, McProgressInterface* progress);
  void storeVoxels(const Mask& other, const McBox3i& box, bool clearFirst);
  bool storeFiles(const Mask& other);

  McVec3i m_dimensions;
  SoVolumeMask* m_volumeMask = nullptr;
  std::string m_temporaryPrefix;
  std::string m_ldmFilename;
  std::string m_datFilename;
  std::atomic<bool> m_ownsTemporaryFiles{false};
  mutable McMutex m_storageMutex;
  mutable McMutex m_editMutex;
  mutable BoxCache m_boundingBox;
  mutable BoxCache m_approximatedBoundingBox;
  bool m_holdsNode = true;          ///< false in a member-wise copy
  bool m_keepsFiles = false;        ///< they outlive the mask
  bool m_filesUnderPrefix = false;  ///< a borrowed mask reads files under its own prefix, which go with it

  static int m_temporaryStorageCount;
  static McMutex s_temporaryPrefixMutex;
  static const std::vector<std::string> s_saveParameters;

  friend class BoxProxy;
  friend class FillMaskFromSplit;
  friend void hxroi::maskFromBitfield(Mask& mask, const McBitfield& bits);
};

}  // namespace hxroi::details
