#pragma once

#include <QString>

#include "quarn/kernel/export.h"
#include "quarn/kernel/ports/HxPort.h"

/// A number, which may be infinite but is never "not a number". Numbers are read and shown without the locale, and as
/// short as they read back exactly; infinities as inf and -inf.
class QUARN_KERNEL_API HxPortReal : public HxPort {
public:
  MC_CLASS_DECL(HxPortReal)

  HxPortReal(HxObject* owner, const QString& name, const QString& label, double value);
  ~HxPortReal() override;

  double getValue() const { return value_; }
  /// Marks the port when the value differs; what is not a number is passed over.
  void setValue(double value);

  void getState(QString& state) const override;
  bool setState(const QString& state) override;
  /// Commands: getValue, setValue NUMBER.
  int parse(Tcl_Interp* interp, int argc, char** argv) override;
  /// A line edit, "value". What is typed and is no number is replaced by the value.
  void createWidget(QWidget* parent) override;

private:
  QString text() const;
  void showValue();

  double value_;
};
