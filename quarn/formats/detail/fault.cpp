#include "quarn/formats/detail/fault.h"

#include "quarn/base/McException.h"

namespace quarn::formats::detail {

QString quoted(std::string_view value) {
  return QLatin1Char('"') + QString::fromStdString(McException::excerpt(value)) + QLatin1Char('"');
}

void refuse(const QString& place, const QString& what) {
  throw McException((place + QStringLiteral(": ") + what).toStdString());
}

}  // namespace quarn::formats::detail
