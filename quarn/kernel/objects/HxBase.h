#pragma once

#include <QString>

#include "quarn/base/McHandable.h"
#include "quarn/base/McInterfaceOwner.h"
#include "quarn/base/McTypedClass.h"
#include "quarn/kernel/export.h"

class HxObjectPool;

/// Something with a name and a label. Reference counted; made with `new` and held by McHandle. For the user-interface
/// thread.
class QUARN_KERNEL_API HxBase : public McInterfaceOwner, public McHandable {
public:
  MC_CLASS_DECL(HxBase)

  /// The name by which scripts and saved networks address the object: given by the pool, unique there, and safe inside
  /// a quoted script word. Empty outside the pool.
  const QString& getName() const { return name_; }

  /// What the user reads; the name unless a label was set.
  const QString& getLabel() const { return label_.isEmpty() ? name_ : label_; }
  bool hasLabel() const { return !label_.isEmpty(); }
  /// Any text; the empty one brings the name back.
  void setLabel(const QString& label) { label_ = label; }

  /// "name" in messages: the label, or the class of an object that has none.
  QString describe() const;

protected:
  HxBase() = default;
  ~HxBase() override;

private:
  friend class HxObjectPool;

  QString name_;
  QString label_;
};
