#pragma once

#include <QString>
#include <cstdint>

#include "quarn/kernel/export.h"
#include "quarn/kernel/ports/HxPort.h"

/// A whole number inside inclusive bounds.
class QUARN_KERNEL_API HxPortInteger : public HxPort {
public:
  MC_CLASS_DECL(HxPortInteger)

  /// The value at the start is the one of the bounds that is nearer to 0.
  HxPortInteger(HxObject* owner, const QString& name, const QString& label, std::int64_t minimum, std::int64_t maximum);
  ~HxPortInteger() override;

  std::int64_t minimum() const { return minimum_; }
  std::int64_t maximum() const { return maximum_; }

  std::int64_t getValue() const { return value_; }
  /// Cuts the value at the bounds; marks the port when it differs.
  void setValue(std::int64_t value);

  void getState(QString& state) const override;
  bool setState(const QString& state) override;
  /// Commands: getValue, setValue NUMBER, getMinMax. A number outside the bounds is a wrong value.
  int parse(Tcl_Interp* interp, int argc, char** argv) override;
  /// A spin box, "value".
  void createWidget(QWidget* parent) override;

private:
  void showValue();

  const std::int64_t minimum_, maximum_;
  std::int64_t value_;
};
