#include "quarn/kernel/app/HxApplication.h"

#include <QApplication>

#include "quarn/kernel/app/HxProgress.h"

namespace {

HxProgress& terminalProgress() {
  static HxProgress progress;
  return progress;
}

McProgressInterface* chosenProgress = nullptr;

bool isUnattended = false;

QPointer<QWidget>& mainWidgetGuard() {
  static QPointer<QWidget> widget;
  return widget;
}

}  // namespace

HxApplication* HxApplication::instance() {
  static HxApplication application;
  return &application;
}

McProgressInterface* HxApplication::progress() {
  return chosenProgress ? chosenProgress : &terminalProgress();
}

McProgressInterface* HxApplication::setProgress(McProgressInterface* progress) {
  McProgressInterface* const former = HxApplication::progress();
  chosenProgress = progress == &terminalProgress() ? nullptr : progress;
  return former;
}

QWidget* HxApplication::mainWidget() {
  return mainWidgetGuard();
}
void HxApplication::setMainWidget(QWidget* widget) {
  mainWidgetGuard() = widget;
}

bool HxApplication::canAsk() {
  return !isUnattended && qobject_cast<QApplication*>(QCoreApplication::instance());
}
void HxApplication::setUnattended(bool unattended) {
  isUnattended = unattended;
}
