#pragma once

#include <string>
#include <utility>
#include <vector>

#include "quarn/kernel/app/HxMessageSink.h"

/// Keeps every message instead of showing it; becomes the sink of HxMessage while it lives.
class QUARN_KERNEL_API HxRecordingSink : public HxMessageSink {
public:
  /// Installs itself and remembers the sink that was there.
  HxRecordingSink();
  /// Puts the former sink back.
  ~HxRecordingSink() override;
  HxRecordingSink(const HxRecordingSink&) = delete;
  HxRecordingSink& operator=(const HxRecordingSink&) = delete;

  void console(const std::string& text) override;
  void error(const QString& text) override;
  void warning(const QString& text) override;
  void titledWarning(const QString& title, const QString& text) override;
  void critical(const QString& title, const QString& text) override;
  void ioError(const QString& fileName) override;

  void clear();
  /// All console entries in one text, a missing final line end of an entry added, as a terminal shows them.
  std::string consoleText() const;

  std::vector<std::string> consoleEntries;  ///< raw UTF-8, one per call
  std::vector<QString> errors;
  std::vector<QString> warnings;
  std::vector<std::pair<QString, QString>> titledWarnings;  ///< title, text
  std::vector<std::pair<QString, QString>> criticals;       ///< title, text
  std::vector<QString> ioErrors;                            ///< file names

private:
  HxMessageSink* former_;
};
