#include <QPixmap>
#include <QToolButton>

#include "quarn/kernel/app/HxColorDialog.h"
#include "quarn/kernel/ports/HxPortColorList.h"
#include "quarn/kernel/ports/detail/colorText.h"

namespace {

constexpr QSize kPatch(40, 14);

}  // namespace

void HxPortColorList::createWidget(QWidget* parent) {
  HxPort::createWidget(parent);
  for (int i = 0; i < count(); ++i) {
    auto* button = new QToolButton(frame());
    button->setObjectName(QString("color%1").arg(i));
    button->setIconSize(kPatch);
    layout()->addWidget(button);
    showColor(i);
    QObject::connect(button, &QToolButton::clicked, receiver(), [this, i] { chooseColor(i); });
  }
  layout()->addStretch(1);
}

void HxPortColorList::showColor(int i) {
  auto* button = findWidget<QToolButton>(QString("color%1").arg(i));
  if (!button) return;
  QPixmap patch(kPatch);
  patch.fill(HxColorDialog::toQt(getColor(i)));
  button->setIcon(patch);
  button->setToolTip(quarn::detail::colorText(getColor(i)));
}

void HxPortColorList::chooseColor(int i) {
  // The port may be gone when the dialog has closed.
  const QPointer<QObject> there = receiver();
  const std::optional<McColor> color = HxColorDialog::getColor(getColor(i), frame(), getLabel());
  if (there && color && *color != getColor(i)) act([this, i, color] { setColor(i, *color); });
}
