#include "ScriptTest.h"

#include <QFile>
#include <tcl.h>

#include "quarn/base/McException.h"

namespace {

/// Goes through the lines of a file.
class Reader {
public:
  explicit Reader(const QString& file) : file_(file) {}

  ScriptTest read() {
    QFile file(file_);
    if (!file.open(QIODevice::ReadOnly)) refuse("cannot be read");
    for (const QString& text : QString::fromUtf8(file.readAll()).split('\n')) {
      ++line_;
      if (isHead_) {
        takeHead(text);
      } else {
        takeStep(text);
      }
    }
    if (test_.name.isEmpty() || test_.description.isEmpty() || test_.steps.empty())
      refuse("name, description and at least one statement are wanted");
    return test_;
  }

private:
  [[noreturn]] void refuse(const QString& why) const {
    throw McException((file_ + ":" + QString::number(line_) + ": " + why).toStdString());
  }

  void takeHead(const QString& text) {
    if (text.isEmpty()) {
      isHead_ = false;
    } else if (text.startsWith(' ')) {
      test_.description += text;
    } else if (text.startsWith("name: ")) {
      test_.name = text.mid(6);
    } else if (text.startsWith("description: ")) {
      test_.description = text.mid(13);
    } else if (text.startsWith("skip: ")) {
      test_.skipped = text.mid(6).split(' ');
    } else {
      refuse("\"" + text + "\" is no line of a head");
    }
  }

  void takeStep(const QString& text) {
    if (text.isEmpty() || text.startsWith('#')) return;
    const bool isPattern = text.size() > 1 && text[1] == '~';
    const Expected expected{text.mid(isPattern ? 3 : 2), isPattern, text.mid(1) == "..."};
    if (text.startsWith('>')) return takeStatement(expected.text);
    if (test_.steps.empty()) refuse("nothing was stated yet");
    ScriptStep& step = test_.steps.back();
    isStatement_ = false;
    if (text.startsWith('=')) return step.result.push_back(expected);
    if (text.startsWith('!')) return step.failure.push_back(expected);
    if (text.startsWith(':')) return step.console.push_back(expected);
    refuse("\"" + text + "\" begins with none of > = ! : #");
  }

  /// A line that goes on with a statement does so because Tcl needs more.
  void takeStatement(const QString& text) {
    const bool goesOn = isStatement_ && !Tcl_CommandComplete(test_.steps.back().statement.toUtf8().constData());
    if (goesOn) {
      test_.steps.back().statement += '\n' + text;
    } else {
      test_.steps.push_back({line_, text, {}, {}, {}});
    }
    isStatement_ = true;
  }

  const QString file_;
  ScriptTest test_;
  int line_ = 0;
  bool isHead_ = true;
  bool isStatement_ = false;
};

}  // namespace

bool Expected::fits(const QString& given) const {
  if (!isPattern) return given == text;
  return Tcl_StringMatch(given.toUtf8().constData(), text.toUtf8().constData()) != 0;
}

ScriptTest ScriptTest::read(const QString& file) {
  return Reader(file).read();
}
