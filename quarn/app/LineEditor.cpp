#include "quarn/app/LineEditor.h"

#include <cstdio>
#include <cstdlib>
// readline's headers need FILE to be known.
#include <QDir>
#include <QFile>
#include <cstring>
#include <optional>
#include <readline/history.h>
#include <readline/readline.h>
#include <vector>

#include "quarn/app/completions.h"

namespace quarn::app {
namespace {

constexpr int historyLength = 1000;

QString historyFile() {
  const QString chosen = qEnvironmentVariable("XDG_STATE_HOME");
  const QString base =
      chosen.startsWith(QLatin1Char('/')) ? chosen : QDir::homePath() + QStringLiteral("/.local/state");
  return base + QStringLiteral("/quarn/history");
}

/// What readline's callbacks, which know no object, leave behind.
std::optional<LineEditor::Answer> finishedLine;
std::vector<QByteArray> candidates;

void onLine(char* text) {
  LineEditor::Answer answer;
  answer.ended = !text;
  if (text) answer.line = text;
  if (text && *text) add_history(text);
  std::free(text);
  finishedLine = answer;
  rl_callback_handler_remove();
}

char* nextCandidate(const char*, int state) {
  static std::size_t next = 0;
  if (state == 0) next = 0;
  return next < candidates.size() ? strdup(candidates[next++].constData()) : nullptr;
}

/// Where no word is known the names of files are taken.
char** complete(const char* text, int start, int) {
  const TypedLine line = readTypedLine(QByteArray(rl_line_buffer).left(start));
  candidates = completions(line, text);
  if (!candidates.empty() || line.words.isEmpty()) rl_attempted_completion_over = 1;
  if (line.isQuoted) rl_completion_append_character = '"';
  return rl_completion_matches(text, nextCandidate);
}

/// A quoted word goes on over blanks.
char* breakingCharacters() {
  static char quotationMark[] = "\"";
  return readTypedLine(QByteArray(rl_line_buffer, rl_point)).isQuoted ? quotationMark : nullptr;
}

}  // namespace

LineEditor::LineEditor() {
  rl_readline_name = "quarn";
  rl_catch_signals = 0;
  rl_attempted_completion_function = complete;
  rl_completion_word_break_hook = breakingCharacters;
  rl_basic_word_break_characters = " \t\n\"{}[];$";
  using_history();
  stifle_history(historyLength);
  read_history(QFile::encodeName(historyFile()).constData());
}

LineEditor::~LineEditor() {
  const QString file = historyFile();
  if (QDir().mkpath(QFileInfo(file).absolutePath())) write_history(QFile::encodeName(file).constData());
}

LineEditor::Answer LineEditor::readLine(const char* prompt, const std::function<bool()>& waitForInput) {
  finishedLine.reset();
  rl_callback_handler_install(prompt, onLine);
  while (!finishedLine) {
    if (waitForInput()) {
      rl_callback_read_char();
      continue;
    }
    rl_free_line_state();
    rl_callback_sigcleanup();
    rl_callback_handler_remove();
    std::fputs("^C\n", stdout);
    std::fflush(stdout);
    Answer answer;
    answer.cancelled = true;
    return answer;
  }
  if (finishedLine->ended) std::fputs("\n", stdout);
  return *finishedLine;
}

}  // namespace quarn::app
