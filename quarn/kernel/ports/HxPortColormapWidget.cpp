#include <QCheckBox>
#include <QCoreApplication>
#include <QLineEdit>
#include <QMenu>
#include <QToolButton>

#include "quarn/kernel/app/HxColorDialog.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/fields/HxStandardColormaps.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/ports/HxPortColormap.h"
#include "quarn/kernel/ports/detail/colorText.h"

using quarn::detail::realFrom;
using quarn::detail::realText;

namespace {

constexpr QSize kStrip(64, 16), kSmallStrip(48, 12);
constexpr int kCheckSize = 4;
constexpr int kEditWidth = 52;

QString tr(const char* text) {
  return QCoreApplication::translate("HxPortColormap", text);
}

QPixmap pictureOf(const HxColormap& colormap, QSize size, bool alpha) {
  return colormap.getPixmap(size.width(), size.height(), kCheckSize, alpha);
}

QPixmap pictureOf(const McColor& color, float alpha) {
  const McHandle<HxColormap> colormap(new HxColormap);
  colormap->setEntries({{color, alpha}});
  return pictureOf(*colormap, kStrip, true);
}

QLineEdit* makeEdit(const char* name, QWidget* parent) {
  auto* edit = new QLineEdit(parent);
  edit->setObjectName(name);
  edit->setFixedWidth(kEditWidth);
  edit->setAlignment(Qt::AlignRight);
  return edit;
}

}  // namespace

void HxPortColormap::createWidget(QWidget* parent) {
  HxPort::createWidget(parent);
  auto* minimum = makeEdit("minimum", frame());
  auto* strip = new QToolButton(frame());
  strip->setObjectName("colormap");
  strip->setIconSize(kStrip);
  strip->setPopupMode(QToolButton::InstantPopup);
  auto* menu = new QMenu(strip);
  strip->setMenu(menu);
  auto* maximum = makeEdit("maximum", frame());
  maximum->setAlignment(Qt::AlignLeft);
  auto* alpha = new QCheckBox(tr("alpha"), frame());
  alpha->setObjectName("alpha");
  for (QWidget* part : {static_cast<QWidget*>(minimum), static_cast<QWidget*>(strip), static_cast<QWidget*>(maximum),
                        static_cast<QWidget*>(alpha)})
    layout()->addWidget(part);
  layout()->addStretch(1);
  showSource();

  QObject::connect(menu, &QMenu::aboutToShow, receiver(), [this, menu] { fillMenu(*menu); });
  for (QLineEdit* edit : {minimum, maximum})
    QObject::connect(edit, &QLineEdit::editingFinished, receiver(), [this] { takeRange(); });
  QObject::connect(alpha, &QCheckBox::clicked, receiver(),
                   [this](bool on) { act([this, on] { setAlphaEnabled(on); }); });
}

void HxPortColormap::showSource() {
  auto* strip = findWidget<QToolButton>("colormap");
  if (!strip) return;
  const HxColormap* map = colormap();
  strip->setIcon(map ? pictureOf(*map, kStrip, alphaEnabled_) : pictureOf(defaultColor_, defaultAlpha_));
  strip->setToolTip(map ? map->describe() : tr("constant color"));
  strip->setEnabled(isEditingAllowed());
  const bool ofMap = map && !localRangeActive_;
  const auto show = [this](const char* name, float number) {
    if (auto* edit = findWidget<QLineEdit>(name); edit->text() != realText(number)) edit->setText(realText(number));
  };
  show("minimum", ofMap ? map->minCoord() : localMin_);
  show("maximum", ofMap ? map->maxCoord() : localMax_);
  findWidget<QCheckBox>("alpha")->setChecked(alphaEnabled_);
}

/// The colormap itself may have changed.
void HxPortColormap::clearMarks() {
  const bool wasNew = isNew();
  HxConnection::clearMarks();
  if (wasNew) showSource();
}

void HxPortColormap::fillMenu(QMenu& menu) {
  menu.clear();
  const auto add = [&](const QString& text, HxColormap* map) {
    QAction* action = menu.addAction(text);
    if (map) action->setIcon(pictureOf(*map, kSmallStrip, true));
    action->setCheckable(true);
    action->setChecked(map == colormap());
    const McHandle<HxColormap> held(map);
    QObject::connect(action, &QAction::triggered, receiver(), [this, held] {
      act([this, held] {
        connect(held);
        showSource();
      });
    });
  };
  add(tr("no colormap"), nullptr);
  menu.addSeparator();
  HxStandardColormaps& standard = HxStandardColormaps::instance();
  for (const QString& name : standard.names()) add(name, standard.find(name));
  menu.addSeparator();
  for (const McHandle<HxObject>& object : HxObjectPool::instance().objects()) {
    auto* map = dynamic_cast<HxColormap*>(object.get());
    if (map && (map == source() || wouldConnect(map))) add(map->describe(), map);
  }
  if (!constantColorEnabled_) return;
  menu.addSeparator();
  QObject::connect(menu.addAction(tr("constant color...")), &QAction::triggered, receiver(),
                   [this] { chooseConstantColor(); });
}

void HxPortColormap::chooseConstantColor() {
  // The port may be gone when the dialog has closed.
  const QPointer<QObject> there = receiver();
  const std::optional<McColor> color = HxColorDialog::getColor(defaultColor_, frame(), tr("Constant color"));
  if (!there || !color) return;
  act([this, color] {
    disconnect();
    setDefaultColor(*color);
  });
}

/// A range that the user types is one of the port's own. What is no number is not taken.
void HxPortColormap::takeRange() {
  auto* minimum = findWidget<QLineEdit>("minimum");
  auto* maximum = findWidget<QLineEdit>("maximum");
  if (!minimum->isModified() && !maximum->isModified()) return;
  const auto min = realFrom(minimum->text().trimmed()), max = realFrom(maximum->text().trimmed());
  if (!min || !max) {
    showSource();
    return;
  }
  minimum->setModified(false);
  maximum->setModified(false);
  act([this, min, max] {
    setLocalRangeActive(true);
    setLocalRange(*min, *max);
    showSource();
  });
}
