#include "quarn/kernel/app/HxResource.h"

#include <QCoreApplication>
#include <QDir>

QString HxResource::getRootDir() {
  const QDir program(QCoreApplication::applicationDirPath());
  const QString above = QDir::cleanPath(program.absoluteFilePath("..")), installed = above + "/lib/quarn";
  return QDir(installed + "/share").exists() ? installed : above;
}
