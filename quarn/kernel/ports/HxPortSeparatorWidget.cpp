#include <QLabel>

#include "quarn/kernel/ports/HxPortSeparator.h"

void HxPortSeparator::createWidget(QWidget* parent) {
  HxPort::createWidget(parent);
  auto* heading = findWidget<QLabel>("label");
  QFont font = heading->font();
  font.setBold(true);
  heading->setFont(font);
  heading->setMinimumWidth(0);
  auto* line = new QFrame(frame());
  line->setFrameStyle(QFrame::HLine | QFrame::Sunken);
  layout()->addWidget(line, 1);
}
