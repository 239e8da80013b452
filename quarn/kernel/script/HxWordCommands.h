#pragma once

#include <QString>
#include <QStringList>
#include <cstddef>
#include <optional>

#include "quarn/kernel/export.h"
#include "quarn/kernel/script/HxCommands.h"

/// One call of a command of an object, a port or a bundle: argv[0] names whose command it is, argv[1] is the command.
struct QUARN_KERNEL_API HxWords {
  Tcl_Interp* interp;
  int argc;
  char** argv;

  /// The command; empty when there is none.
  QString command() const { return argc > 1 ? QString::fromUtf8(argv[1]) : QString(); }
  /// Number of words after the command, and one of them.
  int count() const { return argc > 2 ? argc - 2 : 0; }
  const char* word(int i) const { return argv[2 + i]; }
  QString text(int i) const { return QString::fromUtf8(word(i)); }
  /// All words from one on.
  QStringList texts(int first = 0) const;

  /// Makes a text the result.
  int answer(const QString& text) const;
  /// Appends a text to the list in the result.
  int append(const QString& text) const;
  int append(const QStringList& texts) const;

  /// Tells of a value that the command does not take, and what it takes ("a number from 0 to 2").
  int refuse(const QString& value, const QString& expected) const { return refuse(argv[1], value, expected); }
  static int refuse(const char* command, const QString& value, const QString& expected);

  /// The host's check of the form: HX_CMD_GO_ON, else what the command answers. Where a command takes one word, "help"
  /// is a value like any other.
  int checkForm(const HxCommandText& text) const;
};

/// One row of a table of commands of a class: what is said of it, and what it does.
template <class Owner>
struct HxWordCommand {
  HxCommandText text;
  int (*run)(Owner& owner, const HxWords& words);
};

/// Runs the command of the table that is asked for. Gives nothing when the table of the class `of` has none of that
/// name; all of them are registered then.
template <class Owner, std::size_t N>
std::optional<int> runWordCommand(const HxWordCommand<Owner> (&table)[N], const char* of, Owner& owner,
                                  const HxWords& words) {
  const QString command = words.command();
  for (const HxWordCommand<Owner>& row : table) {
    if (!cmdCheck(command, row.text, of)) continue;
    const int form = words.checkForm(row.text);
    return form == HX_CMD_GO_ON ? row.run(owner, words) : form;
  }
  return std::nullopt;
}
