#pragma once

#include <QStringList>

#include "quarn/kernel/export.h"
#include "quarn/kernel/ports/HxPort.h"

/// A choice of one among several labelled buttons.
class QUARN_KERNEL_API HxPortRadioBox : public HxPort {
public:
  MC_CLASS_DECL(HxPortRadioBox)

  HxPortRadioBox(HxObject* owner, const QString& name, const QString& label, int buttons);
  ~HxPortRadioBox() override;

  int buttons() const { return static_cast<int>(labels_.size()); }
  /// Label of a button; empty for buttons that do not exist.
  QString getLabel(int button) const { return labels_.value(button); }
  using HxPort::getLabel;
  void setLabel(int button, const QString& label);
  using HxPort::setLabel;

  /// The chosen button, 0 at start. Programs may set other numbers: then no button is down.
  int getValue() const { return value_; }
  /// Marks the port when the value differs.
  void setValue(int value);

  void getState(QString& state) const override;
  bool setState(const QString& state) override;
  /// Commands: getValue, setValue BUTTON|LABEL, getLabels.
  int parse(Tcl_Interp* interp, int argc, char** argv) override;
  /// Radio buttons, "button0" and so on.
  void createWidget(QWidget* parent) override;

private:
  void showValue();
  int parseSetValue(Tcl_Interp* interp, const QString& word);

  QStringList labels_;
  int value_ = 0;
};
