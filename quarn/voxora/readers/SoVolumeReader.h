#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <vector>

#include "quarn/voxora/export.h"
#include "quarn/voxora/nodes/SbTypes.h"
#include "quarn/voxora/nodes/SoDataSet.h"
#include "quarn/voxora/nodes/SoNode.h"
#include "quarn/voxora/nodes/SoType.h"
#include "quarn/voxora/readers/SoFieldData.h"

/// Serves the voxels of a volume, slice by slice, from wherever they are kept. Derived classes override what they know;
/// every operation has a default.
///
/// A class that derives from this one registers itself in the type table and keeps its own field data, both under
/// classMutex().
class QUARN_VOXORA_API SoVolumeReader : public SoNode {
public:
  /// Told that the content of a reader is another one now.
  using Listener = std::function<void()>;

  SoVolumeReader();

  /// True for the reader classes of the toolkit itself.
  virtual bool getIsBuiltIn() const;

  /// The field data of the class; null until there was an instance.
  virtual const SoFieldData* getFieldData() const;

  /// The type of the object's class.
  virtual SoType getTypeId() const;

  /// Tells extent, voxel type and dimensions. Returns 0, or 1 when there is no volume; the arguments are then
  /// unchanged. The default returns 1.
  virtual int getDataChar(SbBox3f& size, SoDataSet::DataType& type, SbVec3i32& dimension);

  /// Writes the voxels of a rectangle of slice `sliceNumber` into `data`, x fastest, without row padding, in the type
  /// that getDataChar tells. The default writes nothing.
  virtual void getSubSlice(const SbBox2i32& subSlice, int sliceNumber, void* data);

  /// Says that everybody who took something from the reader must take it anew: calls the listeners in the order in
  /// which they came, in the calling thread.
  void startNotify();

  /// Adds a listener; the number removes it again.
  int addListener(Listener listener);
  void removeListener(int number);

  /// Registers the class; harmless when it is registered already, also before main().
  static void initClass();
  /// Takes the class out of the type table; initClass() may follow.
  static void exitClass();
  /// The bad type while the class is not registered.
  static SoType getClassTypeId();
  /// The field data of the class; null until there was an instance. For the field data of derived classes.
  static const SoFieldData* getClassFieldData();

  /// Guards registration and field data of all reader classes. May be locked again by the thread that holds it, so
  /// that a class can register its parent under the lock.
  static std::recursive_mutex& classMutex();

protected:
  ~SoVolumeReader() override;

private:
  struct Registration {
    int number;
    Listener listener;
  };

  std::vector<Registration> listeners_;
  int nextListener_ = 1;
};
