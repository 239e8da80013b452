#include <QLabel>

#include "quarn/base/McHandle.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/objects/HxObject.h"
#include "quarn/kernel/ports/HxPort.h"
#include "quarn/kernel/ports/detail/PortListWatch.h"

/// \file
/// How a port looks; the rest of it works without a window.

namespace {

/// So that the ports of a panel stand in line.
constexpr int kLabelWidth = 100;

}  // namespace

void HxPort::createWidget(QWidget* parent) {
  dropWidget();
  frame_ = new QFrame(parent);
  receiver_ = new QObject(frame_);
  auto* row = new QHBoxLayout(frame_);
  row->setContentsMargins(0, 0, 0, 0);
  auto* label = new QLabel(frame_);
  label->setObjectName("label");
  label->setTextFormat(Qt::PlainText);
  label->setMinimumWidth(kLabelWidth);
  row->addWidget(label);
  showLabel();
  frame_->setVisible(visible_);
}

/// In the middle of one of its own signals the widget must not be deleted.
void HxPort::dropWidget() {
  delete receiver_;
  if (frame_ && acting_ > 0) {
    frame_->hide();
    frame_->deleteLater();
    frame_.clear();
  }
  delete frame_;
}

QHBoxLayout* HxPort::layout() const {
  return frame_ ? static_cast<QHBoxLayout*>(frame_->layout()) : nullptr;
}

void HxPort::setVisible(bool visible) {
  visible_ = visible;
  if (frame_) {
    frame_->setVisible(visible);
  } else if (visible) {
    quarn::detail::PortListWatch::tell(owner_);
  }
}

void HxPort::setLabel(const QString& label) {
  label_ = label;
  showLabel();
}

void HxPort::showLabel() {
  if (auto* label = findWidget<QLabel>("label")) label->setText(label_);
}

void HxPort::act(const std::function<void()>& change) {
  const std::shared_ptr<const bool> alive = alive_;
  ++acting_;
  {
    const McHandle<HxObject> held(owner_ && owner_->refCount() > 0 ? owner_ : nullptr);
    try {
      change();
      if (*alive) send();
    } catch (const std::exception& failure) {
      HxMessage::error(QString::fromUtf8(failure.what()));
    } catch (...) {
      HxMessage::error("unknown failure");
    }
  }
  if (*alive) --acting_;
}
