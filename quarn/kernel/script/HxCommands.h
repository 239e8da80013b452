#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <tcl.h>
#include <vector>

#include "quarn/kernel/export.h"

/// Helpers for the parse() functions of objects, ports and parameter bundles: recognising words, help, usage texts.
///
/// While an object parses its words, every command that it knows passes through cmdCheck() and so enters the list that
/// help shows. The dispatcher gives each running object command a list of its own. For the user-interface thread.

/// What is said of one command. Its form, help, completion and the reference page come from the same texts.
struct HxCommandText {
  const char* name;
  const char* words;  ///< synopsis: WORD stands for a value, word for itself; ?optional?, one|other, REPEATED...
  int minWords;       ///< fewest words after the name
  int maxWords;       ///< most words after the name; -1 for any number
  const char* help;

  bool fits(int count) const { return count >= minWords && (maxWords < 0 || count <= maxWords); }
};

/// One registered command.
struct QUARN_KERNEL_API HxCmdEntry {
  QString name;
  QString synopsis;                     ///< what follows the name; may be empty
  const HxCommandText* text = nullptr;  ///< what else is known; null for a command that is not of a table
  QString of;                           ///< the class whose table has the command

  /// The synopsis, that of the table when it is empty.
  QString words() const { return synopsis.isEmpty() && text ? QString::fromUtf8(text->words) : synopsis; }
  /// True for what stands for other words.
  bool isPlaceholder() const { return isPlaceholder(name); }
  /// Capitals stand for other words.
  static bool isPlaceholder(const QString& word) { return word == word.toUpper() && word != word.toLower(); }
};

/// The commands that the object being parsed has registered so far, in the order of registration, each name once.
class QUARN_KERNEL_API HxCmdInfo {
public:
  int size() const { return static_cast<int>(entries_.size()); }
  const HxCmdEntry& operator[](int i) const { return entries_[static_cast<std::size_t>(i)]; }
  void clear() { *this = HxCmdInfo(); }
  /// A name that is registered already gets the new synopsis and keeps its place.
  void add(const QString& name, const QString& synopsis);
  /// Null when the name is not registered.
  const HxCmdEntry* find(const QString& name) const;

  /// What a table says of a registered command. `text` must stay; `of` is the class of the table.
  void describe(const HxCommandText& text, const char* of);
  /// A line about the values that a command takes here and now; help shows it.
  void note(const QString& name, const QString& line) { notes_[name] = line; }
  QString noteOf(const QString& name) const { return notes_.value(name); }

  /// Words that may stand for a placeholder of the synopses ("MASK"); completion shows them.
  void offer(const QString& placeholder, const QStringList& words) { offers_[placeholder] = words; }
  const QMap<QString, QStringList>& offers() const { return offers_; }
  /// Words that lead on to something with commands of its own: asked with nothing behind it, that lists them.
  void lead(const QStringList& words) { leads_ += words; }
  const QStringList& leads() const { return leads_; }

private:
  std::vector<HxCmdEntry> entries_;
  QMap<QString, QString> notes_;
  QMap<QString, QStringList> offers_;
  QStringList leads_;
};

/// The list of the object command that runs now; a list of its own when none runs.
QUARN_KERNEL_API HxCmdInfo& getCmdInfo();

/// What cmdHelp() answers when the command may go on.
inline constexpr int HX_CMD_GO_ON = 4;

/// Kinds of cmdError().
enum HxCmdErrorKind : int { HX_CMD_UNKNOWN = 1, HX_CMD_WRONG_COUNT = 2, HX_CMD_WRONG_VALUE = 3 };

/// Registers the command `name` with its synopsis and tells whether `word` is exactly that command (1) or not (0).
QUARN_KERNEL_API int cmdCheck(const QString& word, const QString& name, const QString& synopsis);
/// The same with all that the table of the class `of` says.
QUARN_KERNEL_API int cmdCheck(const QString& word, const HxCommandText& text, const char* of);

/// The check of a command's form. `word` is the command; argv[0] names whose command it is.
/// - 4 (HX_CMD_GO_ON): well formed, carry on;
/// - 0: "help" was asked, that is the only argument is the word help; usage and help are on the console;
/// - 1: malformed; the usage is on the console.
QUARN_KERNEL_API int cmdHelp(Tcl_Interp* interp, const char* word, bool wellFormed, int argc, char** argv);

/// Reports on the console what is wrong with the command `word`; kinds see HxCmdErrorKind. Returns 1.
QUARN_KERNEL_API int cmdError(Tcl_Interp* interp, int kind, const QString& word);

/// The answer to the words of a command that nothing else has claimed: lists what is registered on the console, one
/// "usage: <argv[0]> <name> <synopsis>" per command. Asked for help (or without a word) it returns 0; "help COMMAND"
/// shows what is known of one of them; any other word is called unknown and gives 1.
QUARN_KERNEL_API int cmdUsage(Tcl_Interp* interp, int argc, char** argv);

/// Appends one element to the list in the interpreter's result, formatted as by printf; the text is UTF-8.
QUARN_KERNEL_API void Tcl_VaAppendElement(Tcl_Interp* interp, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
