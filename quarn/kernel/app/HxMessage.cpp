#include "quarn/kernel/app/HxMessage.h"

#include <cstdarg>
#include <mutex>
#include <streambuf>

#include "quarn/kernel/app/HxTerminalSink.h"
#include "quarn/kernel/app/detail/formatText.h"

namespace {

struct State {
  std::mutex mutex;
  HxTerminalSink terminal;
  HxMessageSink* sink = &terminal;
  HxMessage::Mark count;
  std::string newestEntry;
  std::string newestBox;
};

/// Never destroyed: objects that die after main() may still have something to say.
State& state() {
  static State& instance = *new State;
  return instance;
}

void printEntry(const std::string& text) {
  State& s = state();
  const std::lock_guard lock(s.mutex);
  ++s.count.consoleEntries;
  s.newestEntry = text;
  s.sink->console(text);
}

/// Counts a box and lets `show` hand it to the sink.
template <class Show>
void showBox(const QString& text, Show show) {
  HxMessage::flushStream();
  State& s = state();
  const std::lock_guard lock(s.mutex);
  ++s.count.boxes;
  s.newestBox = text.toStdString();
  show(s);
}

/// Cuts what is streamed into console entries, one per line.
class ConsoleBuffer : public std::streambuf {
public:
  int sync() override {
    if (!line_.empty()) printEntry(std::exchange(line_, {}));
    return 0;
  }

protected:
  int_type overflow(int_type c) override {
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    line_ += traits_type::to_char_type(c);
    if (line_.back() == '\n') sync();
    return c;
  }

private:
  std::string line_;
};

}  // namespace

void HxMessage::printf(const char* format, ...) {
  flushStream();
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = quarn::detail::formatText(format, arguments);
  va_end(arguments);
  printEntry(text);
}

std::ostream& HxMessage::stream() {
  static ConsoleBuffer buffer;
  static std::ostream stream(&buffer);
  return stream;
}

void HxMessage::flushStream() {
  stream().flush();
}

void HxMessage::error(const QString& text) {
  showBox(text, [&](State& s) { s.sink->error(text); });
}

void HxMessage::warning(const QString& text) {
  showBox(text, [&](State& s) { s.sink->warning(text); });
}

void HxMessage::warning(const QString& title, const QString& text) {
  showBox(text, [&](State& s) { s.sink->titledWarning(title, text); });
}

void HxMessage::critical(const QString& title, const QString& text) {
  showBox(text, [&](State& s) {
    ++s.count.criticals;
    s.sink->critical(title, text);
  });
}

void HxMessage::ioError(const QString& fileName) {
  showBox(QStringLiteral("cannot read or write ") + fileName, [&](State& s) { s.sink->ioError(fileName); });
}

HxMessageSink* HxMessage::setSink(HxMessageSink* sink) {
  State& s = state();
  const std::lock_guard lock(s.mutex);
  return std::exchange(s.sink, sink ? sink : &s.terminal);
}

HxMessageSink* HxMessage::sink() {
  State& s = state();
  const std::lock_guard lock(s.mutex);
  return s.sink;
}

HxMessage::Mark HxMessage::mark() {
  State& s = state();
  const std::lock_guard lock(s.mutex);
  return s.count;
}

std::optional<std::string> HxMessage::newestSince(const Mark& mark) {
  State& s = state();
  const std::lock_guard lock(s.mutex);
  if (s.count.consoleEntries > mark.consoleEntries) {
    const std::size_t end = s.newestEntry.find_last_not_of('\n');
    return s.newestEntry.substr(0, end + 1);
  }
  if (s.count.boxes > mark.boxes) return s.newestBox;
  return std::nullopt;
}
