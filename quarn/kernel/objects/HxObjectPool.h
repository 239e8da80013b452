#pragma once

#include <QString>
#include <vector>

#include "quarn/base/McHandle.h"
#include "quarn/kernel/export.h"
#include "quarn/kernel/objects/HxBasePool.h"
#include "quarn/kernel/objects/HxObject.h"
#include "quarn/kernel/objects/HxObjectPoolListener.h"

class HxPort;

/// The objects of the process, in the order of their coming. The pool holds a reference to each and gives it its name,
/// under which the interpreter then has a command. For the user-interface thread.
///
/// Names are made of letters, digits and signs that are plain in a script: blanks, control characters, quotes,
/// brackets, dollar signs, backslashes, colons, semicolons and number signs are replaced by "_". A name that is taken,
/// by an object or by a command, gets a number appended: "brain", "brain2", "brain3"; after a digit "-2", "-3".
class QUARN_KERNEL_API HxObjectPool : public HxBasePool {
public:
  static HxObjectPool& instance();

  HxObject* find(const char* name) const override;
  HxObject* find(const QString& name) const;
  /// All objects; valid until the pool changes.
  const std::vector<McHandle<HxObject>>& objects() const { return objects_; }

  /// Puts an object into the pool, with the interfaces declared for its class, under a name made from `name` (from its
  /// class when that is empty). An object that is in the pool already keeps its name.
  void add(HxObject* object, const QString& name);

  /// Takes an object out of the pool; harmless when it is not there. First the objects whose tight connections lead to
  /// it go; then all connections to it are cut; it leaves the result slot of the module that made it; last, the pool's
  /// reference is dropped. Nothing is evaluated.
  void remove(HxObject* object);
  /// Empties the pool, the newest object first.
  void clear();

  /// Gives an object in the pool another name, made safe and unique; returns it.
  QString rename(HxObject* object, const QString& name);
  /// The name that an object would get for `name`.
  QString uniqueName(const QString& name) const;
  /// `text` with everything replaced that has a meaning in scripts; "object" for the empty text.
  static QString safeName(const QString& text);

  /// Tells the listeners that the user chose an object; null for none.
  void select(HxObject* object);
  HxObject* selected() const { return selected_; }

  /// Tells the listeners that an object has been evaluated.
  void notifyEvaluated(HxObject* object);

  /// Tells the user interface, when there is one, that another port is the selected one.
  void notifyPortSelectedChanged(HxPort* port);
  HxPort* selectedPort() const { return selectedPort_; }

  /// Listeners are told in the order of their coming. Not owned.
  void addListener(HxObjectPoolListener* listener);
  void removeListener(HxObjectPoolListener* listener);

  HxObjectPool(const HxObjectPool&) = delete;
  HxObjectPool& operator=(const HxObjectPool&) = delete;

private:
  friend class HxPort;

  HxObjectPool() = default;
  ~HxObjectPool() override = default;
  template <class Tell>
  void tell(Tell call);
  void addCommand(HxObject* object);
  void removeTightOwners(HxObject* source);

  std::vector<McHandle<HxObject>> objects_;
  std::vector<HxObjectPoolListener*> listeners_;
  McHandle<HxObject> selected_;
  HxPort* selectedPort_ = nullptr;
};
