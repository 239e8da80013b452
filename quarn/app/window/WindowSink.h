#pragma once

#include <QMessageBox>
#include <QPointer>
#include <QString>

#include "quarn/app/window/ConsolePane.h"
#include "quarn/kernel/app/HxMessageSink.h"

namespace quarn::app {

/// Messages of a run with a window: console entries in its log, the rest in boxes that do not hold up what runs, and in
/// the log. Takes messages of any thread; they appear in the order of their coming.
class WindowSink : public HxMessageSink {
public:
  explicit WindowSink(ConsolePane* console) : console_(console) {}

  void console(const std::string& text) override;
  void error(const QString& text) override;
  void warning(const QString& text) override;
  void titledWarning(const QString& title, const QString& text) override;
  void critical(const QString& title, const QString& text) override;
  void ioError(const QString& fileName) override;

private:
  void log(const QString& text);
  void showBox(QMessageBox::Icon icon, const QString& title, const QString& text);

  const QPointer<ConsolePane> console_;
};

}  // namespace quarn::app
