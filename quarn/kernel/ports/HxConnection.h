#pragma once

#include <vector>

#include "quarn/base/McType.h"
#include "quarn/kernel/export.h"
#include "quarn/kernel/ports/HxPort.h"

class HxConnectionChecker;

/// A connection to another object, the source, whose evaluation then brings on that of the owner. The connection does
/// not own its source and lets go of it when that dies.
///
/// Marks: 1 when the source was connected, disconnected or replaced, always together with 8; otherwise the marks of the
/// source without bit 1, of which 8 means that its content changed.
class QUARN_KERNEL_API HxConnection : public HxPort {
public:
  MC_CLASS_DECL(HxConnection)

  /// `acceptedType` is a class of objects or an interface; the bad type accepts nothing.
  HxConnection(HxObject* owner, const QString& name, const QString& label, McType acceptedType);
  ~HxConnection() override;

  void addAcceptedType(McType type) { acceptedTypes_.push_back(type); }
  /// True when `source` is, or offers, one of the accepted types. A null source is not accepted.
  bool accepts(const HxObject* source) const;

  HxObject* source() const { return source_; }
  /// Connects `source`; null disconnects. Refused, with everything as it was, when the owner or the checker does not
  /// accept it or when the owner is upstream of it. Does not evaluate.
  bool connect(HxObject* source);
  /// Whether connect() would take this object, which is not null.
  bool wouldConnect(HxObject* source);
  void disconnect() { setSource(nullptr); }

  /// When the source of a tight connection is taken out of the pool, the owner goes with it.
  void setTightness(bool tight) { tight_ = tight; }
  bool isTight() const { return tight_; }

  /// Whether the user, also by script, may change the connection; programs always may. Default true.
  void allowEditing(bool allow);
  bool isEditingAllowed() const { return editable_; }

  /// A further rule, asked after the owner; not owned, null for none.
  void setChecker(HxConnectionChecker* checker) { checker_ = checker; }

  /// Commands: connect OBJECT, disconnect, source. A refused connection is told on the console, with the reason that
  /// the checker gives.
  int parse(Tcl_Interp* interp, int argc, char** argv) override;
  /// A list of the objects that can be connected, "source".
  void createWidget(QWidget* parent) override;

protected:
  /// The widget is to show another source, or whether it may be changed.
  virtual void showSource();
  /// Tells that the user must not change the connection now; false when that is allowed.
  bool refusesEditing() const;

private:
  friend class HxObject;

  void setSource(HxObject* source);
  int parseConnect(const char* name);
  int parseDisconnect();

  std::vector<McType> acceptedTypes_;
  HxObject* source_ = nullptr;
  HxConnectionChecker* checker_ = nullptr;
  bool tight_ = false;
  bool editable_ = true;
};
