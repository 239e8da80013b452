#pragma once

#include <QString>
#include <QStringList>
#include <optional>
#include <utility>
#include <vector>

namespace quarn::app {

/// What the user asked for on the command line.
struct CommandLine {
  enum class Mode { None, Window, Script, Command, Interactive, Recover, Verify, Snapshot, Help, Version };

  Mode mode = Mode::None;
  QString script;               ///< file of Mode::Script
  QStringList scriptArguments;  ///< all words after it
  QString command;              ///< text of Mode::Command
  QString snapshot;             ///< picture of Mode::Snapshot
  QStringList files;            ///< to be loaded first; the folder of Mode::Recover, what Mode::Verify checks
  std::vector<std::pair<QString, QString>> preferences;  ///< key, value
  std::optional<QString> temporaryDirectory;
  QStringList packagePaths;
  bool quiet = false;
  bool discard = false;  ///< with Mode::Recover: remove what there is

  /// Reads the words after the program's name. Throws McException naming the option and what is wrong.
  static CommandLine parse(const QStringList& words);

  /// The help text; one line per option.
  static QString help();
};

}  // namespace quarn::app
