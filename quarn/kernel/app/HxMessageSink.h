#pragma once

#include <QString>
#include <string>

#include "quarn/kernel/export.h"

/// Where messages go: a terminal, a window, or a list in a test.
///
/// HxMessage calls one sink at a time, under its own lock, from whatever thread reports something; an implementation
/// must not call HxMessage back.
class QUARN_KERNEL_API HxMessageSink {
public:
  virtual ~HxMessageSink();

  /// One entry of the console, in UTF-8, exactly as it was printed: with its own final line end or without one.
  virtual void console(const std::string& text) = 0;

  /// A modal error and a modal warning of an attended run.
  virtual void error(const QString& text) = 0;
  virtual void warning(const QString& text) = 0;

  /// The same with a title of its own; where boxes have no titles, title and text in one.
  virtual void titledWarning(const QString& title, const QString& text);

  /// A modal message after which work cannot go on.
  virtual void critical(const QString& title, const QString& text) = 0;

  /// Reading or writing `fileName` failed.
  virtual void ioError(const QString& fileName) = 0;
};
