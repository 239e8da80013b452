#pragma once

#include <QDialog>
#include <memory>

#include "quarn/kernel/export.h"

class HxParamBundle;
class QDialogButtonBox;
class QPushButton;

namespace quarn::detail {
class ParamView;
}

/// Edits the parameters of a bundle. What the user does is written into the bundle by Apply and Ok, as far as it
/// differs from what the dialog showed first; Cancel forgets it. Parameters with the font-style flags 1 and 2 look as
/// having several values, until they are edited. Not modal unless made so.
class QUARN_KERNEL_API QxParamDialog : public QDialog {
  Q_OBJECT

public:
  explicit QxParamDialog(QWidget* parent = nullptr);
  ~QxParamDialog() override;

  /// Whether there is an Apply button; none at the start.
  void enableApply(bool enable);

  /// Shows `bundle`, which is not owned and must live until another one, or null, is set. What was not applied is
  /// forgotten.
  void setBundle(HxParamBundle* bundle);
  HxParamBundle* bundle() const { return bundle_; }

  /// The buttons. When those of Ok or Apply tell that they were clicked, the bundle has the new values already.
  QDialogButtonBox* buttonBox() const { return buttonBox_; }

Q_SIGNALS:
  /// Apply has written new values into the bundle. Not after Ok.
  void dataChanged();

public Q_SLOTS:
  /// As Apply and Ok.
  void apply();
  void accept() override;
  void reject() override;

private:
  void write();

  HxParamBundle* bundle_ = nullptr;
  quarn::detail::ParamView* view_;
  QDialogButtonBox* buttonBox_;
};
