#pragma once

#include <QString>

#include "quarn/kernel/export.h"
#include "quarn/kernel/ports/HxPort.h"

/// A line of text, empty at the start.
class QUARN_KERNEL_API HxPortText : public HxPort {
public:
  MC_CLASS_DECL(HxPortText)

  HxPortText(HxObject* owner, const QString& name, const QString& label);
  ~HxPortText() override;

  const QString& getValue() const { return value_; }
  /// Marks the port when the text differs.
  void setValue(const QString& value);

  void getState(QString& state) const override { state = value_; }
  bool setState(const QString& state) override;
  /// Commands: getValue, setValue TEXT.
  int parse(Tcl_Interp* interp, int argc, char** argv) override;
  /// A line edit, "value".
  void createWidget(QWidget* parent) override;

private:
  void showValue();

  QString value_;
};
