#include "quarn/formats/detail/ImageProgress.h"

#include <QDir>
#include <QFileInfo>

#include "quarn/base/McProgressInterface.h"
#include "quarn/formats/detail/fault.h"
#include "quarn/kernel/app/HxApplication.h"

namespace quarn::formats::detail {

ImageProgress::ImageProgress(Task task, const QString& file) : task_(task), file_(file) {
  const QString path = QDir::cleanPath(QFileInfo(file).absoluteFilePath());
  const std::string name = QFileInfo(path).fileName().toStdString();
  HxApplication::progress()->start((task == Task::Reading ? "Reading " : "Writing ") + name);
}

ImageProgress::~ImageProgress() {
  HxApplication::progress()->stop();
}

void ImageProgress::advance(float fraction) const {
  HxApplication::progress()->setValue(fraction);
  if (!HxApplication::progress()->isInterrupted()) return;
  refuse(file_, task_ == Task::Reading ? QStringLiteral("reading was interrupted")
                                       : QStringLiteral("writing was interrupted, nothing has changed there"));
}

}  // namespace quarn::formats::detail
