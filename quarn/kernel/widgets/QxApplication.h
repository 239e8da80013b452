#pragma once

#include <QApplication>
#include <functional>

#include "quarn/kernel/export.h"

/// The application of a program with windows. What a slot or an event handler throws is shown to the user, and the
/// program goes on: nobody loses work because a command failed.
class QUARN_KERNEL_API QxApplication : public QApplication {
public:
  using QApplication::QApplication;
  ~QxApplication() override;

  bool notify(QObject* receiver, QEvent* event) override;

  /// What `deliver` gives; false when it throws, after the failure was shown.
  static bool guarded(const std::function<bool()>& deliver) noexcept;
};
