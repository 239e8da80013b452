#pragma once

#include <QColor>
#include <QString>
#include <functional>
#include <optional>

#include "quarn/base/McColor.h"
#include "quarn/kernel/export.h"

class QWidget;

/// Asks the user for a colour.
class QUARN_KERNEL_API HxColorDialog {
public:
  /// Nothing when the user gives up. `parent` may be null; `title` may be empty.
  static std::optional<McColor> getColor(const McColor& former, QWidget* parent, const QString& title);

  using Chooser = std::function<std::optional<McColor>(const McColor& former)>;
  /// Answers in place of the dialog from now on; an empty one brings the dialog back.
  static void setChooser(Chooser chooser);

  static QColor toQt(const McColor& color);
};
