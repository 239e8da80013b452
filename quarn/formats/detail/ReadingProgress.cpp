#include "quarn/formats/detail/ReadingProgress.h"

#include <QFileInfo>

#include "quarn/base/McProgressInterface.h"
#include "quarn/formats/detail/fault.h"
#include "quarn/kernel/app/HxApplication.h"

namespace quarn::formats::detail {

ReadingProgress::ReadingProgress(const QString& file) : file_(file) {
  HxApplication::progress()->start("Reading " + QFileInfo(file).fileName().toStdString());
}

ReadingProgress::~ReadingProgress() {
  HxApplication::progress()->stop();
}

void ReadingProgress::advance(float fraction) const {
  HxApplication::progress()->setValue(fraction);
  if (HxApplication::progress()->isInterrupted()) refuse(file_, QStringLiteral("reading was interrupted"));
}

}  // namespace quarn::formats::detail
