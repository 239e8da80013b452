#pragma once

#include "quarn/kernel/app/HxMessageSink.h"

/// The sink of a run without a window: the console goes to standard output, everything else to standard error.
class QUARN_KERNEL_API HxTerminalSink : public HxMessageSink {
public:
  void console(const std::string& text) override;
  void error(const QString& text) override;
  void warning(const QString& text) override;
  void critical(const QString& title, const QString& text) override;
  void ioError(const QString& fileName) override;

  /// A quiet sink drops console entries; errors and warnings are always shown.
  void setQuiet(bool quiet);
  bool isQuiet() const;

  /// True when console entries appear on the very terminal that standard error is shown on, so that repeating one of
  /// them as an error would show it twice.
  bool showsConsoleBesideErrors() const;

private:
  bool quiet_ = false;
};
