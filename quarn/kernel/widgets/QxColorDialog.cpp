#include "quarn/kernel/widgets/QxColorDialog.h"

#include "quarn/kernel/app/HxColorDialog.h"

/// The dialog of the desktop is not a widget that a view could hold.
QxColorDialog::QxColorDialog(QWidget* parent) : QColorDialog(parent) {
  setOption(QColorDialog::DontUseNativeDialog);
  setWindowFlag(Qt::Dialog);
}

void QxColorDialog::setDefaultColor(const McColor& color, float alpha) {
  setOption(QColorDialog::ShowAlphaChannel, alpha >= 0);
  QColor shown = HxColorDialog::toQt(color);
  if (alpha >= 0) shown.setAlphaF(alpha);
  setCurrentColor(shown);
  default_ = color;
  shown_ = currentColor().rgb();
}

McColor QxColorDialog::getColor() const {
  const QColor color = currentColor();
  if (color.rgb() == shown_) return default_;
  return McColor(color.redF(), color.greenF(), color.blueF());
}

float QxColorDialog::getAlpha() const {
  return testOption(QColorDialog::ShowAlphaChannel) ? currentColor().alphaF() : 1;
}
