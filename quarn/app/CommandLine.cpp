#include "quarn/app/CommandLine.h"

#include "quarn/base/McException.h"

namespace quarn::app {
namespace {

using Mode = CommandLine::Mode;

std::string excerpt(const QString& text) {
  return McException::excerpt(text.toStdString());
}

void setMode(CommandLine& line, Mode mode, const QString& option) {
  if (line.mode != Mode::None)
    throw McException(excerpt(option) +
                      ": only one of --window, --script, --command, --interactive, --recover, --verify and --snapshot");
  line.mode = mode;
}

void addPreference(CommandLine& line, const QString& text) {
  const qsizetype equals = text.indexOf(QLatin1Char('='));
  if (equals < 1) throw McException("--set: KEY=VALUE is expected, got \"" + excerpt(text) + "\"");
  line.preferences.emplace_back(text.left(equals), text.mid(equals + 1));
}

/// One option. `apply` gets the option's value, empty for an option that takes none.
struct Option {
  const char* name;
  const char* value;  ///< what the help calls it; null when it takes none
  const char* help;
  void (*apply)(CommandLine&, const QString& value);
};

constexpr Option options[] = {
    {"--window", nullptr, "show the window; where there is a display this needs no asking",
     [](CommandLine& line, const QString&) { setMode(line, Mode::Window, "--window"); }},
    {"--script", "FILE [ARG...]", "run a script and exit; its status is 0, or 1 with file, line and message",
     [](CommandLine& line, const QString& value) {
       setMode(line, Mode::Script, "--script");
       line.script = value;
     }},
    {"--command", "TCL", "run a few words and exit",
     [](CommandLine& line, const QString& value) {
       setMode(line, Mode::Command, "--command");
       line.command = value;
     }},
    {"--interactive", nullptr,
     "read commands from the terminal or a pipe; from a pipe all run, and the status is 1 when\n"
     "                           one of them failed",
     [](CommandLine& line, const QString&) { setMode(line, Mode::Interactive, "--interactive"); }},
    {"--recover", nullptr,
     "show the work that runs which were cut off have left; with a FOLDER behind it,\n"
     "                           save that work in this new or empty folder",
     [](CommandLine& line, const QString&) { setMode(line, Mode::Recover, "--recover"); }},
    {"--discard", nullptr, "with --recover: remove that work",
     [](CommandLine& line, const QString&) { line.discard = true; }},
    {"--verify", nullptr,
     "check the FILEs and all that they name to the last byte, without loading them; the\n"
     "                           status is 1 when anything is wrong",
     [](CommandLine& line, const QString&) { setMode(line, Mode::Verify, "--verify"); }},
    {"--snapshot", "FILE.png", "draw the FILEs into a picture and exit",
     [](CommandLine& line, const QString& value) {
       setMode(line, Mode::Snapshot, "--snapshot");
       line.snapshot = value;
     }},
    {"--set", "KEY=VALUE", "a preference for this run", addPreference},
    {"--temp", "DIR", "base folder of the temporary storage",
     [](CommandLine& line, const QString& value) { line.temporaryDirectory = value; }},
    {"--package-path", "DIR", "another folder where packages are looked for",
     [](CommandLine& line, const QString& value) { line.packagePaths.append(value); }},
    {"--quiet", nullptr, "no console output; errors and warnings are shown",
     [](CommandLine& line, const QString&) { line.quiet = true; }},
    {"--version", nullptr, "show the version and exit",
     [](CommandLine& line, const QString&) { line.mode = Mode::Version; }},
    {"--help", nullptr, "show this text and exit", [](CommandLine& line, const QString&) { line.mode = Mode::Help; }},
};

const Option& optionNamed(const QString& name) {
  for (const Option& option : options)
    if (name == QLatin1String(option.name)) return option;
  throw McException("unknown option " + excerpt(name) + "; quarn --help shows the options");
}

/// Goes through the words of a command line.
class Reader {
public:
  explicit Reader(const QStringList& words) : words_(words) {}

  CommandLine read() {
    while (next_ < words_.size() && !isDone()) readWord();
    if (!isDone()) checkFiles();
    return line_;
  }

private:
  bool isDone() const { return line_.mode == Mode::Help || line_.mode == Mode::Version; }

  void checkFiles() const {
    if (line_.mode == Mode::Verify && line_.files.isEmpty()) throw McException("--verify: FILE is missing");
    if (line_.mode == Mode::Snapshot && line_.files.isEmpty()) throw McException("--snapshot: FILE is missing");
    const bool recovers = line_.mode == Mode::Recover;
    if (line_.discard && !recovers) throw McException("--discard: only with --recover");
    if (recovers && line_.files.size() > (line_.discard ? 0 : 1))
      throw McException(line_.discard ? "--discard: takes no folder" : "--recover: only one folder");
  }

  void readWord() {
    const QString word = words_[next_++];
    if (onlyFiles_ || !word.startsWith(QLatin1Char('-')) || word == QLatin1String("-")) {
      line_.files.append(word);
    } else if (word == QLatin1String("--")) {
      onlyFiles_ = true;
    } else {
      readOption(word);
    }
    if (line_.mode == Mode::Script && line_.scriptArguments.isEmpty()) takeScriptArguments();
  }

  /// "--option VALUE" or "--option=VALUE".
  void readOption(const QString& word) {
    const qsizetype equals = word.indexOf(QLatin1Char('='));
    const Option& option = optionNamed(equals < 0 ? word : word.left(equals));
    if (!option.value && equals >= 0) throw McException(std::string(option.name) + ": takes no value");
    if (!option.value) return option.apply(line_, QString());
    if (equals >= 0) return option.apply(line_, word.mid(equals + 1));
    if (next_ == words_.size()) throw McException(std::string(option.name) + ": " + option.value + " is missing");
    option.apply(line_, words_[next_++]);
  }

  void takeScriptArguments() {
    line_.scriptArguments = words_.mid(next_);
    next_ = words_.size();
  }

  const QStringList& words_;
  CommandLine line_;
  qsizetype next_ = 0;
  bool onlyFiles_ = false;
};

}  // namespace

CommandLine CommandLine::parse(const QStringList& words) {
  return Reader(words).read();
}

QString CommandLine::help() {
  QString text = QStringLiteral("usage: quarn [OPTION...] [FILE...]\n\nFILEs are loaded first.\n\n");
  for (const Option& option : options) {
    QString words = QString::fromLatin1(option.name);
    if (option.value) words += QLatin1Char(' ') + QString::fromLatin1(option.value);
    text += QStringLiteral("  ") + words.leftJustified(24) + QLatin1Char(' ') + QString::fromLatin1(option.help) +
            QLatin1Char('\n');
  }
  text += QStringLiteral(
      "\nThe exit status is 0, 1 after an error, 130 after Ctrl-C, 128 and its number after another\n"
      "signal to end, or what the command exit was given.\n"
      "The command help shows the commands.");
  return text;
}

}  // namespace quarn::app
