#pragma once

#include <QDialog>
#include <QString>
#include <memory>

#include "hxroi/export.h"

class Ui_QxRoiUpdateDlgBase;

/// Asks for the name under which a ROI set of an older format is saved in the present one.
class HXROI_API QxRoiUpdateDialog : public QDialog {
  Q_OBJECT

public:
  /// Proposes proposedName(filename). `name` is the object's name; null leaves that of the form.
  QxRoiUpdateDialog(const QString& filename, QWidget* parent, const char* name, bool modal, Qt::WindowFlags flags);
  ~QxRoiUpdateDialog() override;

  /// The name of the output file, as it was proposed, typed or chosen last.
  const QString& filename() const { return filename_; }

  /// `filename` with ".ROIs.qm" at its end replaced by "-upgraded.ROIs.qm"; any other name stays as it is.
  static QString proposedName(const QString& filename);

public Q_SLOTS:
  /// Lets the user choose the output file.
  void browseClicked();
  /// Accepts the dialog.
  void upgradeClicked();
  /// Takes a new name; without one the set cannot be upgraded.
  void outputFileChanged(const QString& filename);

private:
  std::unique_ptr<Ui_QxRoiUpdateDlgBase> ui_;
  QString filename_;
};
