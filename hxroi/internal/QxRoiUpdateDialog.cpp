#include "hxroi/internal/QxRoiUpdateDialog.h"

#include <QRegularExpression>

#include "quarn/kernel/app/HxFileDialog.h"
#include "ui_QxRoiUpdateDlgBase.h"

QxRoiUpdateDialog::QxRoiUpdateDialog(const QString& filename, QWidget* parent, const char* name, bool modal,
                                     Qt::WindowFlags flags)
    : QDialog(parent, flags), ui_(std::make_unique<Ui_QxRoiUpdateDlgBase>()) {
  if (name) setObjectName(QString::fromLatin1(name));
  ui_->setupUi(this);
  setModal(modal);
  connect(ui_->filenameEdit, &QLineEdit::textChanged, this, &QxRoiUpdateDialog::outputFileChanged);
  connect(ui_->browseButton, &QPushButton::clicked, this, &QxRoiUpdateDialog::browseClicked);
  connect(ui_->upgradeButton, &QPushButton::clicked, this, &QxRoiUpdateDialog::upgradeClicked);
  connect(ui_->abortButton, &QPushButton::clicked, this, &QDialog::reject);
  const QString proposed = proposedName(filename);
  ui_->filenameEdit->setText(proposed);
  outputFileChanged(proposed);
}

QxRoiUpdateDialog::~QxRoiUpdateDialog() = default;

QString QxRoiUpdateDialog::proposedName(const QString& filename) {
  static const QRegularExpression ending(QStringLiteral("\\.ROIs\\.qm$"));
  return QString(filename).replace(ending, QStringLiteral("-upgraded.ROIs.qm"));
}

void QxRoiUpdateDialog::browseClicked() {
  const QString chosen = HxFileDialog::getSaveFileName(
      QCoreApplication::translate("QxRoiUpdateDlgBase", "Output filename"), QStringLiteral("ROIs(*.ROIs)"), this);
  if (chosen.isEmpty()) return;
  ui_->filenameEdit->setText(chosen);
  outputFileChanged(chosen);
}

void QxRoiUpdateDialog::upgradeClicked() {
  accept();
}

void QxRoiUpdateDialog::outputFileChanged(const QString& filename) {
  filename_ = filename;
  ui_->upgradeButton->setEnabled(!filename_.isEmpty());
}
