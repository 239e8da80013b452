#include "quarn/kernel/HxException.h"

McException hxException(const QString& text) {
  return McException(text.toStdString());
}

QString hxText(const McException& exception) {
  return QString::fromUtf8(exception.what());
}
