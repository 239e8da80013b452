#pragma once

#include <vector>

#include "quarn/base/McColor.h"
#include "quarn/kernel/export.h"
#include "quarn/kernel/ports/HxPort.h"

/// A fixed number of colours, white at the start.
class QUARN_KERNEL_API HxPortColorList : public HxPort {
public:
  MC_CLASS_DECL(HxPortColorList)

  /// `count` is at least 1.
  HxPortColorList(HxObject* owner, const QString& name, const QString& label, int count);
  ~HxPortColorList() override;

  int count() const { return static_cast<int>(colors_.size()); }

  /// Colours are numbered from 0; numbers outside give the first colour.
  const McColor& getColor(int i = 0) const;
  /// Marks the port when the colour differs; does nothing for a number outside.
  void setColor(int i, const McColor& color);

  void getState(QString& state) const override;
  bool setState(const QString& state) override;
  /// Commands: getColor ?NUMBER?, setColor ?NUMBER? R G B, with parts from 0 to 1.
  int parse(Tcl_Interp* interp, int argc, char** argv) override;
  /// Buttons in the colours, "color0" and so on, that open a colour dialog.
  void createWidget(QWidget* parent) override;

private:
  void showColor(int i);
  void chooseColor(int i);
  bool holds(int i) const { return i >= 0 && i < count(); }
  int parseGetColor(Tcl_Interp* interp, int argc, char** argv) const;
  int parseSetColor(Tcl_Interp* interp, int argc, char** argv);

  std::vector<McColor> colors_;
};
