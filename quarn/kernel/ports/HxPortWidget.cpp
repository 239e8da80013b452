#include <QLabel>

#include "quarn/kernel/ports/HxPort.h"

/// \file
/// How a port looks; the rest of it works without a window.

void HxPort::createWidget(QWidget* parent) {
  delete frame_;
  frame_ = new QFrame(parent);
  auto* row = new QHBoxLayout(frame_);
  row->setContentsMargins(0, 0, 0, 0);
  row->addWidget(new QLabel(label_, frame_));
  frame_->setVisible(visible_);
}

QHBoxLayout* HxPort::layout() const {
  return frame_ ? static_cast<QHBoxLayout*>(frame_->layout()) : nullptr;
}

void HxPort::setVisible(bool visible) {
  visible_ = visible;
  if (frame_) frame_->setVisible(visible);
}

void HxPort::setLabel(const QString& label) {
  label_ = label;
  if (!frame_) return;
  if (auto* shown = qobject_cast<QLabel*>(layout()->itemAt(0)->widget())) shown->setText(label);
}
