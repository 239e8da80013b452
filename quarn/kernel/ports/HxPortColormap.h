#pragma once

#include "quarn/base/McColor.h"
#include "quarn/kernel/export.h"
#include "quarn/kernel/ports/HxConnection.h"

class HxColormap;
class QMenu;

/// A connection to a colormap, and how it is to be used: over which values, and whether with its opacities. A constant
/// colour stands in where no colormap is connected.
///
/// Marks, besides those of a connection: 4 when the use of opacities changed, 32 when the range changed, 128 when the
/// constant or default colour, or their opacity, changed.
class QUARN_KERNEL_API HxPortColormap : public HxConnection {
public:
  MC_CLASS_DECL(HxPortColormap)

  HxPortColormap(HxObject* owner, const QString& name, const QString& label = QString());
  ~HxPortColormap() override;

  /// Null when none is connected. Not owned.
  HxColormap* colormap() const;

  /// Whether the user may choose one colour instead of a colormap; true at the start.
  void setConstantColorEnabled(bool enabled);
  bool isConstantColorEnabled() const { return constantColorEnabled_; }

  /// What is used without a colormap: white and opaque at the start.
  void setDefaultColor(const McColor& color);
  const McColor& defaultColor() const { return defaultColor_; }
  /// From 0 to 1.
  void setDefaultAlpha(float alpha);
  float defaultAlpha() const { return defaultAlpha_; }

  /// Whether the opacities of the colormap count; true at the start.
  void setAlphaEnabled(bool enabled);
  bool isAlphaEnabled() const { return alphaEnabled_; }

  /// Whether the port has a range of its own, instead of that of the colormap; false at the start.
  void setLocalRangeActive(bool active);
  bool isLocalRangeActive() const { return localRangeActive_; }

  /// The values of the first and the last colour: 0 and 1 at the start.
  void setLocalRange(float min, float max);
  float localMin() const { return localMin_; }
  float localMax() const { return localMax_; }

  /// All of it but the connection.
  void getState(QString& state) const override;
  bool setState(const QString& state) override;

  /// Commands besides those of a connection, which takes the names of standard colormaps where there is no such object:
  /// connectStandard COLORMAP, getMinMax, setMinMax MIN MAX, getColor, setColor R G B, getAlpha, setAlpha ALPHA,
  /// isAlphaEnabled, setAlphaEnabled 0|1.
  int parse(Tcl_Interp* interp, int argc, char** argv) override;
  /// A strip with the colours that opens a menu of colormaps, "colormap"; line edits "minimum" and "maximum"; a check
  /// box "alpha".
  void createWidget(QWidget* parent) override;

protected:
  void showSource() override;
  void clearMarks() override;

private:
  int parseConnectStandard(Tcl_Interp* interp, const QString& name);
  template <typename Value>
  void change(Value& member, const Value& value, unsigned int flags);
  void fillMenu(QMenu& menu);
  void chooseConstantColor();
  void takeRange();

  bool constantColorEnabled_ = true;
  McColor defaultColor_{1, 1, 1};
  float defaultAlpha_ = 1;
  bool alphaEnabled_ = true;
  bool localRangeActive_ = false;
  float localMin_ = 0, localMax_ = 1;
};
