#pragma once

#include <QString>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

#include "quarn/kernel/app/HxMessageSink.h"
#include "quarn/kernel/export.h"

/// The message facility: a console, and boxes for errors and warnings. May be used from any thread.
///
/// Everything is static; HxApplication::instance()->message() leads to the same place.
class QUARN_KERNEL_API HxMessage {
public:
  /// Prints one console entry (UTF-8). A final line end is added on display when the text has none.
  static void printf(const char* format, ...) __attribute__((format(printf, 1, 2)));

  /// The console as a stream: each finished line is one entry, a rest without line end becomes one with the next flush,
  /// printf() or end of the running command. For the user-interface thread.
  static std::ostream& stream();

  /// A modal error or warning, one button; recorded or written to standard error in unattended runs.
  static void error(const QString& text);
  static void warning(const QString& text);
  static void warning(const QString& title, const QString& text);

  /// A modal message after which work cannot go on; an unattended run ends with status 1 after it.
  static void critical(const QString& title, const QString& text);

  /// Reports that reading or writing a file failed.
  static void ioError(const QString& fileName);

  /// Sends messages to `sink` (not owned) from now on; null brings back the terminal. Returns the sink used before.
  static HxMessageSink* setSink(HxMessageSink* sink);
  static HxMessageSink* sink();

  /// A point in the sequence of messages.
  struct Mark {
    std::uint64_t consoleEntries = 0;
    std::uint64_t boxes = 0;
    std::uint64_t criticals = 0;
  };
  static Mark mark();

  /// The newest console entry since `mark`, without its final line end; when there was none, the text of the newest box
  /// since then; nothing when both are missing.
  static std::optional<std::string> newestSince(const Mark& mark);

  /// Hands a begun line of stream() to the console.
  static void flushStream();
};
