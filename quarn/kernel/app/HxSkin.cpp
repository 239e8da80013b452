#include "quarn/kernel/app/HxSkin.h"

QString HxSkin::getCaption(const QString&) const {
  return getApplicationName();
}
QString HxSkin::getApplicationName() const {
  return QStringLiteral("quarn");
}
QString HxSkin::getApplicationVersion() const {
  return QStringLiteral(QUARN_VERSION);
}
QString HxSkin::getSaveInfo() const {
  return getApplicationName() + QLatin1Char(' ') + getApplicationVersion();
}
