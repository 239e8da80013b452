#pragma once

#include <map>
#include <optional>

#include "quarn/kernel/export.h"
#include "quarn/kernel/objects/HxObject.h"
#include "quarn/kernel/objects/HxResultSlot.h"
#include "quarn/kernel/ports/HxConnection.h"

/// A module: takes the object at "data", does its work in compute(), and hands on results.
class QUARN_KERNEL_API HxCompModule : public HxObject {
public:
  MC_CLASS_DECL(HxCompModule)

  /// The object in a slot, or null.
  HxData* resultObject(int slot = 0) const override;
  /// The slot, or null when nothing was ever put there.
  const HxResultSlot* findResultSlot(int slot) const;

  /// Puts `data` into slot 0: connects its master to this module, touches it with `flags`, notes its touch time, and
  /// has it evaluated, at once or in the evaluation of this module that is under way. When the module is in the pool
  /// the result goes there, too, named after its label or else after the input. A former result of the slot is let go
  /// but stays in the pool. Null empties the slot.
  void setResult(HxData* data, unsigned int flags = 0xFFFFFFFFu) { setResult(0, data, flags); }
  void setResult(int slot, HxData* data, unsigned int flags = 0xFFFFFFFFu);

  /// Puts an object into a slot that it had before it was saved and loaded again, so that the module finds it as its
  /// result: connects its master and does nothing else to it. It counts as changed since it was made. A former result
  /// is let go as by setResult(). False, with everything as it was, when it cannot be connected.
  bool adoptResult(int slot, HxData* data);
  /// The slot that holds `data`; nothing when none does.
  std::optional<int> slotOf(const HxData* data) const;
  /// What has changed, content of sources and settings of this module among it, since it made the result in such a way
  /// that it might make another one now: words for a message; empty for nothing.
  QString changedSinceMaking(const HxData* data) const;
  /// Whether "data" was connected when the module made the result.
  bool hadInput(const HxData* data) const;

  /// Here: a result in a slot that was not touched since it was set can be made again by a module that works on a
  /// single button named "doIt".
  bool canCreateData(HxData* data, QString& script) override;

  /// The input.
  HxConnection dataConnection;

protected:
  /// `dataType` is what "data" accepts, as an object's class or as an interface; further types may be added to the
  /// port.
  explicit HxCompModule(McType dataType);
  ~HxCompModule() override;

private:
  friend class HxObjectPool;

  /// Empties the slots that hold `data`.
  void dropResult(const HxData* data);
  QString resultName(const HxData& data) const;

  std::map<int, HxResultSlot> slots_;
};
