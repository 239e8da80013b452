#include "quarn/kernel/app/HxFileDialog.h"

#include <QFileDialog>
#include <utility>

#include "quarn/kernel/app/HxApplication.h"

namespace {

HxFileDialog::SaveFileName& replacement() {
  static HxFileDialog::SaveFileName answer;
  return answer;
}

}  // namespace

QString HxFileDialog::getSaveFileName(const QString& caption, const QString& filter, QWidget* parent) {
  if (replacement()) return replacement()(caption, filter);
  return HxApplication::canAsk() ? QFileDialog::getSaveFileName(parent, caption, QString(), filter) : QString();
}

HxFileDialog::SaveFileName HxFileDialog::setSaveFileName(SaveFileName answer) {
  return std::exchange(replacement(), std::move(answer));
}
