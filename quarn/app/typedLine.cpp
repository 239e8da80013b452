#include "quarn/app/typedLine.h"

#include <vector>

namespace quarn::app {
namespace {

/// A command that has not ended yet.
struct OpenCommand {
  qsizetype begin = 0;  ///< behind the bracket
  QStringList words;
  QByteArray word;  ///< the one that has not ended
  bool hasWord = false;
  bool isQuoted = false;

  void add(QByteArrayView text) {
    word.append(text);
    hasWord = true;
  }

  void endWord() {
    if (hasWord) words += QString::fromUtf8(word);
    word.clear();
    hasWord = false;
  }

  void end() {
    endWord();
    words.clear();
  }
};

class Scan {
public:
  explicit Scan(const QByteArray& line) : line_(line), open_(1) {}

  TypedLine run() && {
    while (at_ < line_.size()) step();
    OpenCommand& last = open_.back();
    // A quotation mark alone belongs to the word that is being typed.
    const bool hasBegun = last.isQuoted && last.word.isEmpty();
    if (!hasBegun) last.endWord();
    return {last.words, last.isQuoted};
  }

private:
  void step() {
    const char c = line_[at_++];
    OpenCommand& command = open_.back();
    if (c == '\\') {
      command.add(QByteArrayView(line_).sliced(at_).first(qMin<qsizetype>(1, line_.size() - at_)));
      ++at_;
    } else if (c == '[') {
      open_.push_back({at_, {}, {}, false, false});
    } else if (command.isQuoted) {
      if (c == '"') {
        command.isQuoted = false;
      } else {
        command.add({&c, 1});
      }
    } else {
      stepBare(c);
    }
  }

  void stepBare(char c) {
    OpenCommand& command = open_.back();
    if (c == ' ' || c == '\t') {
      command.endWord();
    } else if (c == ';' || c == '\n') {
      command.end();
    } else if (c == ']' && open_.size() > 1) {
      closeBracket();
    } else if (c == '"' && !command.hasWord) {
      command.isQuoted = command.hasWord = true;
    } else if (c == '{' && !command.hasWord) {
      takeBraces();
    } else {
      command.add({&c, 1});
    }
  }

  void closeBracket() {
    const qsizetype begin = open_.back().begin - 1;
    open_.pop_back();
    open_.back().add(QByteArrayView(line_).sliced(begin, at_ - begin));
  }

  /// Braces that are open hold a script, as far as anybody can tell.
  void takeBraces() {
    int depth = 1;
    qsizetype end = at_;
    for (; end < line_.size() && depth > 0; ++end) depth += line_[end] == '{' ? 1 : line_[end] == '}' ? -1 : 0;
    if (depth > 0) return open_.back().end();
    open_.back().add(QByteArrayView(line_).sliced(at_, end - 1 - at_));
    at_ = end;
  }

  const QByteArray& line_;
  qsizetype at_ = 0;
  std::vector<OpenCommand> open_;
};

}  // namespace

TypedLine readTypedLine(const QByteArray& line) {
  return Scan(line).run();
}

}  // namespace quarn::app
