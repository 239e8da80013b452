#pragma once

#include <QString>
#include <tcl.h>
#include <vector>

#include "quarn/base/McHandle.h"
#include "quarn/kernel/export.h"
#include "quarn/kernel/objects/HxBase.h"
#include "quarn/kernel/objects/HxNewFlags.h"

class HxConnection;
class HxData;
class HxPort;
namespace quarn::detail {
class HxEvaluation;
}  // namespace quarn::detail

/// An object of the network: it has ports, some of them connections to other objects, and is evaluated when something
/// that it depends on has changed.
///
/// The cycle. touch() marks what has changed, and nothing else. fire() evaluates: update(), where the object brings its
/// ports in line; compute(), where it does its work; then every object that is connected to this one, nearest first,
/// each once; last, the marks of all of them are cleared. The connections that lead here are touched with the marks of
/// this object, except bit 1, which means "(dis)connected" at a connection. Marks raised during update() or compute()
/// belong to the evaluation under way: they go downstream with it and start no other.
///
/// For the user-interface thread, except touch() and the questions about marks. Made with `new` and held by McHandle,
/// in the pool or outside. When it dies, connections to it are cut first, then its interfaces are deleted.
class QUARN_KERNEL_API HxObject : public HxBase {
public:
  MC_CLASS_DECL(HxObject)

  /// A new object of a registered class, with the interfaces that are declared for the class. Throws McException naming
  /// the class when it is unknown, abstract or no class of objects.
  static McHandle<HxObject> create(const QString& className);

  void notifyDelete() override;

  // --- Marks

  /// ORs `flags` into the marks. Evaluates nothing, paints nothing; may be called by any thread.
  virtual void touch(unsigned int flags = 0xFFFFFFFFu);
  /// True when any of `flags` is marked.
  bool isNew(unsigned int flags = 0xFFFFFFFFu) const { return newFlags_.has(flags); }
  unsigned int getNewFlags() const { return newFlags_.value(); }

  // --- Evaluation

  /// Evaluates the object and, unless `downstream` is 0, what is connected to it. Returns when that is done. Called
  /// while the object is being evaluated, it notes the wish and returns at once: the evaluation is run once more after
  /// the present one, and wishes noted in that second run are dropped. Exceptions of update() and compute() end the
  /// evaluation, clear the marks, and come out here.
  void fire(int downstream = 1);
  /// Called by fire(), in this order.
  virtual void update() {}
  virtual void compute() {}
  /// True from the start of an evaluation until its marks are cleared.
  bool isBeingEvaluated() const;

  // --- Ports and connections

  /// The ports in the order of their making. They belong to whoever made them.
  const std::vector<HxPort*>& ports() const { return ports_; }
  /// The first port of that name, or null.
  HxPort* findPort(const QString& name) const;
  /// The connections whose source is this object.
  const std::vector<HxConnection*>& downstreamConnections() const { return downstream_; }
  /// True when evaluating this object evaluates `other`, too.
  bool isUpstreamOf(const HxObject& other) const;
  /// Decides whether `source` may be connected to `connection`, a port of this object; `source` is not null. Here: by
  /// the types that the connection accepts.
  virtual bool acceptConnection(HxConnection* connection, HxObject* source);

  // --- Others

  /// Flags of the object itself; not marks.
  void setObjectFlag(unsigned int flag, bool on) { objectFlags_ = on ? objectFlags_ | flag : objectFlags_ & ~flag; }
  bool getObjectFlag(unsigned int flag) const { return (objectFlags_ & flag) == flag; }

  bool isInPool() const { return inPool_; }

  /// The data object in a result slot of a module; null when the slot is empty or there is none.
  virtual HxData* resultObject(int slot = 0) const;

  /// Asked when a network is saved: can this object make `data` again, and by which script?
  virtual bool canCreateData(HxData* data, QString& script);

  /// Runs a script command of the object: argv[0] is its name, argv[1] the command or the name of a port; texts are
  /// UTF-8. Returns TCL_OK or TCL_ERROR; results go into the interpreter, help and errors to the console.
  virtual int parse(Tcl_Interp* interp, int argc, char** argv);

protected:
  HxObject();
  ~HxObject() override;

private:
  friend class HxPort;
  friend class HxConnection;
  friend class HxObjectPool;
  friend class quarn::detail::HxEvaluation;

  void cutDownstream();
  void settleMarks();
  void clearMarks();
  /// Called when update() and compute() are done, before the marks go downstream.
  virtual void evaluated();
  int parsePort(HxPort& port, Tcl_Interp* interp, int argc, char** argv);

  std::vector<HxPort*> ports_;
  std::vector<HxConnection*> downstream_;
  HxNewFlags newFlags_;
  unsigned int objectFlags_ = 0;
  bool inPool_ = false;
};
