#include "quarn/kernel/app/HxRecordingSink.h"

#include "quarn/kernel/app/HxMessage.h"

HxRecordingSink::HxRecordingSink() : former_(HxMessage::setSink(this)) {}

HxRecordingSink::~HxRecordingSink() {
  HxMessage::setSink(former_);
}

void HxRecordingSink::console(const std::string& text) {
  consoleEntries.push_back(text);
}
void HxRecordingSink::error(const QString& text) {
  errors.push_back(text);
}
void HxRecordingSink::warning(const QString& text) {
  warnings.push_back(text);
}
void HxRecordingSink::titledWarning(const QString& title, const QString& text) {
  titledWarnings.emplace_back(title, text);
}
void HxRecordingSink::critical(const QString& title, const QString& text) {
  criticals.emplace_back(title, text);
}
void HxRecordingSink::ioError(const QString& fileName) {
  ioErrors.push_back(fileName);
}

void HxRecordingSink::clear() {
  consoleEntries.clear();
  errors.clear();
  warnings.clear();
  titledWarnings.clear();
  criticals.clear();
  ioErrors.clear();
}

std::string HxRecordingSink::consoleText() const {
  std::string text;
  for (const std::string& entry : consoleEntries) {
    text += entry;
    if (!entry.ends_with('\n')) text += '\n';
  }
  return text;
}
