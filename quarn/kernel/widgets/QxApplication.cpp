#include "quarn/kernel/widgets/QxApplication.h"

#include <cstdio>
#include <exception>

#include "quarn/base/McException.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/app/HxMessage.h"

namespace {

/// Memory may be what is missing: then the terminal is told.
void show(const std::function<QString()>& text) noexcept {
  try {
    HxMessage::error(text());
  } catch (...) {
    std::fputs("A command failed, and the failure could not be shown.\n", stderr);
  }
}

}  // namespace

QxApplication::~QxApplication() = default;

bool QxApplication::notify(QObject* receiver, QEvent* event) {
  return guarded([&] { return QApplication::notify(receiver, event); });
}

bool QxApplication::guarded(const std::function<bool()>& deliver) noexcept {
  try {
    return deliver();
  } catch (const McException& failure) {
    show([&] { return hxText(failure); });
  } catch (const std::exception& failure) {
    show([&] { return QString::fromUtf8(failure.what()); });
  } catch (...) {
    show([] { return QStringLiteral("unknown failure"); });
  }
  return false;
}
