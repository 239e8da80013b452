#include "quarn/view/Snapshot.h"

#include <QBuffer>
#include <QByteArray>
#include <span>

#include "quarn/base/McException.h"
#include "quarn/kernel/io/FileReplacement.h"

namespace quarn::view {

namespace {

/// Of 0 to 100; low values compress more, which takes longer.
constexpr int PNG_QUALITY = 20;

[[noreturn]] void refuse(const QString& file, const std::string& why) {
  throw McException(McException::excerpt(file.toStdString()) + ": " + why);
}

}  // namespace

void requirePictureSize(int width, int height) {
  const bool fits = width >= 1 && height >= 1 && width <= LARGEST_PICTURE && height <= LARGEST_PICTURE;
  if (!fits)
    throw McException("A picture has from 1 to " + std::to_string(LARGEST_PICTURE) + " pixels along each side, not " +
                      std::to_string(width) + " x " + std::to_string(height) + ".");
}

void requirePictureName(const QString& file) {
  if (!file.endsWith(QLatin1String(".png"), Qt::CaseInsensitive))
    refuse(file, "the name of a picture ends in \".png\"");
}

void writeSnapshot(const QString& file, const std::function<QImage()>& paint) {
  requirePictureName(file);
  FileReplacement replacement(file);
  QByteArray bytes;
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  if (!paint().save(&buffer, "PNG", PNG_QUALITY)) refuse(file, "the picture cannot be encoded");
  replacement.file().append(std::as_bytes(std::span(bytes.constData(), static_cast<std::size_t>(bytes.size()))));
  replacement.commit();
}

}  // namespace quarn::view
