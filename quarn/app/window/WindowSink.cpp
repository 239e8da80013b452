#include "quarn/app/window/WindowSink.h"

#include <QMetaObject>

namespace quarn::app {

void WindowSink::log(const QString& text) {
  ConsolePane* pane = console_;
  if (!pane) return;
  // In the user-interface thread at once, so that a log is in step with the work that writes it.
  QMetaObject::invokeMethod(
      pane, [pane, text] { pane->append(text); }, Qt::AutoConnection);
}

void WindowSink::showBox(QMessageBox::Icon icon, const QString& title, const QString& text) {
  log(text);
  ConsolePane* pane = console_;
  if (!pane) return;
  // Later and not modal by exec(): whoever reports something may hold locks.
  const auto show = [pane, icon, title, text] {
    auto* box = new QMessageBox(icon, title, text, QMessageBox::Ok, pane->window());
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setTextFormat(Qt::PlainText);
    box->open();
  };
  QMetaObject::invokeMethod(pane, show, Qt::QueuedConnection);
}

void WindowSink::console(const std::string& text) {
  log(QString::fromStdString(text));
}

void WindowSink::error(const QString& text) {
  showBox(QMessageBox::Critical, QStringLiteral("quarn"), text);
}

void WindowSink::warning(const QString& text) {
  showBox(QMessageBox::Warning, QStringLiteral("quarn"), text);
}

void WindowSink::titledWarning(const QString& title, const QString& text) {
  showBox(QMessageBox::Warning, title, text);
}

void WindowSink::critical(const QString& title, const QString& text) {
  showBox(QMessageBox::Critical, title, text);
}

void WindowSink::ioError(const QString& fileName) {
  showBox(QMessageBox::Critical, QStringLiteral("quarn"), ConsolePane::tr("Cannot read or write %1").arg(fileName));
}

}  // namespace quarn::app
