#pragma once

#include <QByteArray>
#include <QString>
#include <functional>

namespace quarn::app {

/// Lines typed at a terminal, with editing, history and completion of commands, objects and file names. One at a time.
class LineEditor {
public:
  /// Reads the history of former sessions.
  LineEditor();
  /// Keeps the history for the next session.
  ~LineEditor();
  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;

  struct Answer {
    QByteArray line;
    bool cancelled = false;  ///< the user does not want this line (Ctrl-C)
    bool ended = false;      ///< there will be no more (Ctrl-D)
  };

  /// Reads a line. `waitForInput` blocks until a key was pressed, then true, or the user wants to stop, then false.
  Answer readLine(const char* prompt, const std::function<bool()>& waitForInput);
};

}  // namespace quarn::app
