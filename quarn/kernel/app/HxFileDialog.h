#pragma once

#include <QString>
#include <functional>

#include "quarn/kernel/export.h"

class QWidget;

/// The dialogs that ask for files. For the user-interface thread.
class QUARN_KERNEL_API HxFileDialog {
public:
  /// Asks for the name of a file to be written; the dialog asks too whether a file that is there is to be replaced.
  /// `filter` is as in "Images(*.png *.jpg)". Empty when the user cancels, and where nobody can be asked.
  static QString getSaveFileName(const QString& caption, const QString& filter, QWidget* parent = nullptr);

  /// Gets caption and filter, and gives the name that the user would.
  using SaveFileName = std::function<QString(const QString& caption, const QString& filter)>;
  /// Puts `answer` in the place of the dialog, for tests; an empty one brings it back. Returns the former one.
  static SaveFileName setSaveFileName(SaveFileName answer);
};
