#pragma once

#include <QColorDialog>

#include "quarn/base/McColor.h"
#include "quarn/kernel/export.h"

/// A dialog for a colour, also as the editor of an item in a view: it closes with finished(int), 0 for rejected.
class QUARN_KERNEL_API QxColorDialog : public QColorDialog {
  Q_OBJECT

public:
  explicit QxColorDialog(QWidget* parent = nullptr);

  /// What the dialog shows until the user chooses. Without an `alpha`, which is negative then, the colour is opaque and
  /// there is nothing to choose an opacity with.
  void setDefaultColor(const McColor& color, float alpha = -1);

  /// The colour chosen last, or shown first; that comes back to the last bit, where choosing has 8 bits for each part.
  McColor getColor() const;
  /// 1 without a choice of opacities.
  float getAlpha() const;

private:
  McColor default_{1, 1, 1};
  QRgb shown_ = 0;  ///< what the dialog made of it
};
