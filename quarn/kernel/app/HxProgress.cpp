#include "quarn/kernel/app/HxProgress.h"

#include <algorithm>
#include <atomic>
#include <sys/ioctl.h>
#include <unistd.h>

#include "quarn/kernel/app/HxInterrupt.h"

namespace {

constexpr std::chrono::milliseconds redrawInterval{100};
constexpr int barWidth = 30;

/// The display whose bar stands on a terminal now.
std::atomic<HxProgress*> shownProgress{nullptr};

int columnsOf(int descriptor) {
  winsize size{};
  return ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

/// One line without control characters, cut to `columns` characters of UTF-8.
std::string lineOf(const std::string& text, int columns) {
  std::string line;
  for (const char c : text) {
    const bool startsCharacter = (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    if (startsCharacter && columns-- <= 0) break;
    line += static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? ' ' : c;
  }
  return line;
}

void writeAll(int descriptor, const std::string& text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t n = write(descriptor, text.data() + written, text.size() - written);
    if (n <= 0) return;
    written += static_cast<std::size_t>(n);
  }
}

}  // namespace

HxProgress::HxProgress() : HxProgress(STDERR_FILENO, isatty(STDERR_FILENO) != 0) {}

HxProgress::HxProgress(int descriptor, bool draws) : descriptor_(descriptor), draws_(draws) {}

HxProgress::~HxProgress() {
  HxProgress* self = this;
  shownProgress.compare_exchange_strong(self, nullptr);
}

void HxProgress::start(const std::string& text) {
  const std::lock_guard lock(mutex_);
  if (running_++ == 0) sequences_.clear();
  showLocked(&text, 0.0f);
}

bool HxProgress::isInterrupted() {
  return HxInterrupt::isRequested();
}

void HxProgress::setValue(float value) {
  const std::lock_guard lock(mutex_);
  showLocked(nullptr, value);
}

void HxProgress::setText(const std::string& text) {
  const std::lock_guard lock(mutex_);
  showLocked(&text, value_);
}

void HxProgress::stop() {
  const std::lock_guard lock(mutex_);
  if (running_ == 0 || --running_ > 0) return;
  sequences_.clear();
  value_ = 0.0f;
  eraseLocked();
}

void HxProgress::setStepCount(int count) {
  const std::lock_guard lock(mutex_);
  if (running_ == 0 && sequences_.empty()) text_.clear();
  sequences_.push_back({std::max(count, 1), 0});
  showLocked(nullptr, 0.0f);
}

void HxProgress::startStep(const std::string& text) {
  const std::lock_guard lock(mutex_);
  showLocked(&text, 0.0f);
}

void HxProgress::endStep() {
  const std::lock_guard lock(mutex_);
  if (sequences_.empty()) return;
  Sequence& sequence = sequences_.back();
  sequence.done = std::min(sequence.done + 1, sequence.count);
  showLocked(nullptr, 0.0f);
}

void HxProgress::endSteps() {
  const std::lock_guard lock(mutex_);
  if (sequences_.empty()) return;
  sequences_.pop_back();
  if (sequences_.empty() && running_ == 0) eraseLocked();
}

float HxProgress::overall() const {
  const std::lock_guard lock(mutex_);
  return overallLocked();
}

bool HxProgress::isRunning() const {
  const std::lock_guard lock(mutex_);
  return running_ > 0;
}

void HxProgress::eraseShown() {
  HxProgress* const shown = shownProgress.load();
  if (!shown) return;
  const std::lock_guard lock(shown->mutex_);
  shown->eraseLocked();
}

float HxProgress::overallLocked() const {
  float begin = 0.0f;
  float span = 1.0f;
  for (const Sequence& sequence : sequences_) {
    const float step = span / static_cast<float>(sequence.count);
    begin += step * static_cast<float>(sequence.done);
    span = sequence.done < sequence.count ? step : 0.0f;
  }
  return std::clamp(begin + span * value_, 0.0f, 1.0f);
}

void HxProgress::showLocked(const std::string* text, float value) {
  value_ = value > 0.0f ? std::min(value, 1.0f) : 0.0f;
  if (text) text_ = *text;
  const auto now = std::chrono::steady_clock::now();
  if (!draws_ || (drawn_ && now - lastDraw_ < redrawInterval)) return;
  lastDraw_ = now;
  drawLocked();
}

void HxProgress::drawLocked() {
  const float fraction = overallLocked();
  const int filled = static_cast<int>(fraction * barWidth);
  const std::string bar = std::string(static_cast<std::size_t>(filled), '#') +
                          std::string(static_cast<std::size_t>(barWidth - filled), '.');
  const std::string percent = std::to_string(static_cast<int>(fraction * 100.0f));
  const std::string head = "[" + bar + "] " + std::string(3 - percent.size(), ' ') + percent + "% ";
  const int room = columnsOf(descriptor_) - static_cast<int>(head.size()) - 1;
  writeAll(descriptor_, "\r\033[K" + head + lineOf(text_, room));
  drawn_ = true;
  shownProgress.store(this);
}

void HxProgress::eraseLocked() {
  if (!drawn_) return;
  writeAll(descriptor_, "\r\033[K");
  drawn_ = false;
}
