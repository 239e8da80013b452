#include "quarn/kernel/widgets/QxParamDialog.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QVBoxLayout>

#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/kernel/widgets/detail/ParamView.h"

using quarn::detail::ParamView;

namespace {

constexpr QSize kSize(460, 360);

}  // namespace

QxParamDialog::QxParamDialog(QWidget* parent)
    : QDialog(parent),
      view_(new ParamView(this)),
      buttonBox_(
          new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Apply | QDialogButtonBox::Cancel, this)) {
  setWindowTitle(tr("Parameters"));
  auto* column = new QVBoxLayout(this);
  column->addWidget(view_, 1);
  column->addWidget(buttonBox_);
  resize(kSize);
  enableApply(false);
  connect(buttonBox_->button(QDialogButtonBox::Apply), &QPushButton::clicked, this, &QxParamDialog::apply);
  // The box would tell of Ok only after everybody whom the button itself tells.
  connect(buttonBox_->button(QDialogButtonBox::Ok), &QPushButton::clicked, this, &QxParamDialog::accept);
  connect(buttonBox_, &QDialogButtonBox::rejected, this, &QxParamDialog::reject);
}

QxParamDialog::~QxParamDialog() = default;

void QxParamDialog::enableApply(bool enable) {
  buttonBox_->button(QDialogButtonBox::Apply)->setVisible(enable);
}

void QxParamDialog::setBundle(HxParamBundle* bundle) {
  bundle_ = bundle;
  view_->show(bundle);
  for (const auto button : {QDialogButtonBox::Ok, QDialogButtonBox::Apply})
    buttonBox_->button(button)->setEnabled(bundle != nullptr);
}

void QxParamDialog::write() {
  if (bundle_) view_->write(*bundle_);
}

void QxParamDialog::apply() {
  write();
  Q_EMIT dataChanged();
}

void QxParamDialog::accept() {
  write();
  // What was typed last would be lost without a word.
  if (!view_->hasRefusedJustNow()) QDialog::accept();
}

void QxParamDialog::reject() {
  view_->show(bundle_);
  QDialog::reject();
}
