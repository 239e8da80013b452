#include "quarn/kernel/app/HxColorDialog.h"

#include <QColorDialog>
#include <QCoreApplication>

namespace {

HxColorDialog::Chooser& chosenChooser() {
  static HxColorDialog::Chooser chooser;
  return chooser;
}

}  // namespace

std::optional<McColor> HxColorDialog::getColor(const McColor& former, QWidget* parent, const QString& title) {
  if (chosenChooser()) return chosenChooser()(former);
  const QString shown = title.isEmpty() ? QCoreApplication::translate("HxColorDialog", "Color") : title;
  const QColor color = QColorDialog::getColor(toQt(former), parent, shown);
  if (!color.isValid()) return std::nullopt;
  return McColor(color.redF(), color.greenF(), color.blueF());
}

void HxColorDialog::setChooser(Chooser chooser) {
  chosenChooser() = std::move(chooser);
}

QColor HxColorDialog::toQt(const McColor& color) {
  return QColor::fromRgbF(color.r, color.g, color.b);
}
