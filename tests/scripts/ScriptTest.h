#pragma once

#include <QString>
#include <QStringList>
#include <vector>

/// A text that a step expects; a pattern as of `string match` when it was written with a tilde.
struct Expected {
  QString text;
  bool isPattern = false;
  bool isRest = false;  ///< whatever else there is

  bool fits(const QString& given) const;
};

/// A statement and what it does.
struct ScriptStep {
  int line = 0;  ///< in the file, from 1
  QString statement;
  std::vector<Expected> result;   ///< lines of the result; none for an empty one
  std::vector<Expected> failure;  ///< lines of the message; none when the statement must not fail
  std::vector<Expected> console;  ///< lines on the console
};

/// A test that is written down as a file:
///
///   name: what the test shows
///   description: any number of words; more lines begin with blanks
///   skip: variations under which it means nothing
///
///   > a statement; more lines of it begin with ">", too
///   = a line of its result
///   ! a line of the message with which it fails
///   : a line on the console
///   # a remark
///
/// What is not expected must not be: a result, a failure or a line on the console. "=~", "!~" and ":~" stand before
/// patterns; "=...", "!..." and ":..." stand for all further lines.
struct ScriptTest {
  QString name;
  QString description;
  QStringList skipped;
  std::vector<ScriptStep> steps;

  /// Throws McException naming file and line.
  static ScriptTest read(const QString& file);
};
