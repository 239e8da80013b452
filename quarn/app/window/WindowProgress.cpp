#include "quarn/app/window/WindowProgress.h"

#include <QCoreApplication>

#include "quarn/kernel/app/HxInterrupt.h"

namespace quarn::app {
namespace {

constexpr qint64 A_MOMENT = 300;       // milliseconds that work may take without a box
constexpr qint64 EVENT_INTERVAL = 40;  // milliseconds between looks at what the user does
constexpr int FULL = 1000;

}  // namespace

WindowProgress::WindowProgress(QWidget* parent) : HxProgress(-1, false), parent_(parent) {}

WindowProgress::~WindowProgress() = default;

void WindowProgress::start(const std::string& text) {
  if (!isRunning()) running_.start();
  HxProgress::start(text);
  text_ = QString::fromStdString(text);
  refresh();
}

bool WindowProgress::isInterrupted() {
  refresh();
  return HxProgress::isInterrupted();
}

void WindowProgress::setValue(float value) {
  HxProgress::setValue(value);
  refresh();
}

void WindowProgress::setText(const std::string& text) {
  HxProgress::setText(text);
  text_ = QString::fromStdString(text);
  refresh();
}

void WindowProgress::startStep(const std::string& text) {
  HxProgress::startStep(text);
  text_ = QString::fromStdString(text);
  refresh();
}

void WindowProgress::endStep() {
  HxProgress::endStep();
  refresh();
}

void WindowProgress::stop() {
  HxProgress::stop();
  if (!isRunning()) box_.reset();
}

void WindowProgress::refresh() {
  if (!isRunning() || !running_.hasExpired(A_MOMENT)) return;
  if (!box_) showBox();
  if (sinceEvents_.isValid() && !sinceEvents_.hasExpired(EVENT_INTERVAL)) return;
  box_->setLabelText(text_);
  box_->setValue(static_cast<int>(overall() * FULL));
  // Modal: what the user does reaches the box alone.
  QCoreApplication::processEvents();
  sinceEvents_.start();
}

void WindowProgress::showBox() {
  box_ = std::make_unique<QProgressDialog>(text_, QCoreApplication::translate("WindowProgress", "Cancel"), 0, FULL,
                                           parent_);
  box_->setWindowModality(Qt::ApplicationModal);
  box_->setAutoClose(false);
  box_->setAutoReset(false);
  box_->setMinimumDuration(0);
  // The box stays until the work has heard of it, or its window would take input in the middle of the work.
  QObject::disconnect(box_.get(), &QProgressDialog::canceled, box_.get(), &QProgressDialog::cancel);
  QObject::connect(box_.get(), &QProgressDialog::canceled, box_.get(), [box = box_.get()] {
    HxInterrupt::request();
    box->setCancelButton(nullptr);
  });
  box_->show();
}

}  // namespace quarn::app
