#pragma once

#include "quarn/kernel/export.h"
#include "quarn/kernel/ports/HxPort.h"

/// Buttons that start the work of a module.
class QUARN_KERNEL_API HxPortDoIt : public HxPort {
public:
  MC_CLASS_DECL(HxPortDoIt)

  /// 1 to 32 buttons.
  HxPortDoIt(HxObject* owner, const QString& name, const QString& label, int buttons = 1);
  ~HxPortDoIt() override;

  int buttons() const { return buttons_; }
  /// Presses a button: marks it and the port, and does not evaluate. Buttons that do not exist are ignored.
  void hit(int button = 0);
  /// True from the press until the end of the next evaluation.
  bool wasHit(int button = 0) const;

  /// Command: hit ?BUTTON?.
  int parse(Tcl_Interp* interp, int argc, char** argv) override;
  /// Push buttons, "button0" and so on; a single one carries the label.
  void createWidget(QWidget* parent) override;

protected:
  void showLabel() override;
  void settleMarks() override;
  void clearMarks() override;

private:
  int buttons_;
  HxNewFlags hits_;
};
