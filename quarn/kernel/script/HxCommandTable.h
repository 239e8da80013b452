#pragma once

#include <QString>
#include <QStringList>
#include <deque>
#include <functional>
#include <tcl.h>

#include "quarn/kernel/export.h"

/// One call of a host command.
class QUARN_KERNEL_API HxCommandCall {
public:
  HxCommandCall(Tcl_Interp* interp, QStringList words) : interp_(interp), words_(std::move(words)) {}

  Tcl_Interp* interp() const { return interp_; }
  /// The words after the command's name.
  const QStringList& words() const { return words_; }

  /// Makes a text, or a list of texts, the result of the command.
  void setResult(const QString& text);
  void setResult(const QStringList& list);

private:
  Tcl_Interp* interp_;
  QStringList words_;
};

/// One row of the table of host commands. From the same rows come dispatch, help and the reference page.
struct QUARN_KERNEL_API HxCommandRow {
  QString name;
  QString words;  ///< synopsis; optional words stand between question marks
  int minWords;   ///< fewest words after the name
  int maxWords;   ///< most words after the name; -1 for any number
  QString help;
  /// Does the work. Fails by throwing McException, whose text becomes the Tcl error.
  std::function<void(HxCommandCall&)> handler;

  /// Name and words.
  QString synopsis() const;
};

/// The host commands of the interpreter. For the user-interface thread.
class QUARN_KERNEL_API HxCommandTable {
public:
  /// Holds the host's own commands from the start.
  static HxCommandTable& instance();

  /// Adds a row. Throws McException when there is one of that name.
  void add(HxCommandRow row);
  /// Rows stay where they are.
  const std::deque<HxCommandRow>& rows() const { return rows_; }
  /// Null when there is none.
  const HxCommandRow* find(const QString& name) const;

  /// Makes the commands in an interpreter, those of later rows too. They replace Tcl's own of the same name.
  void attach(Tcl_Interp* interp);
  /// Under this name Tcl's own rename goes on, behind that of the table.
  static QString tclRename();

private:
  HxCommandTable();

  std::deque<HxCommandRow> rows_;
  Tcl_Interp* interp_ = nullptr;
};
