#pragma once

#include <QString>

#include "quarn/kernel/export.h"

/// How the product calls itself.
class QUARN_KERNEL_API HxSkin {
public:
  /// Caption of a window of the product; "Main" is the main window. An unknown name gives the product's name.
  QString getCaption(const QString& window) const;
  QString getApplicationName() const;
  QString getApplicationVersion() const;
  /// What is written into saved data to say which program made it: name and version.
  QString getSaveInfo() const;
};
