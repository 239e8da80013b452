#pragma once

#include <QImage>
#include <QString>
#include <functional>

#include "quarn/view/export.h"

namespace quarn::view {

/// Pictures are from 1 to this many pixels wide and high.
inline constexpr int LARGEST_PICTURE = 8192;

/// Throws McException naming the size when it is not possible.
QUARN_VIEW_API void requirePictureSize(int width, int height);

/// Throws McException naming the file when its name does not end in ".png".
QUARN_VIEW_API void requirePictureName(const QString& file);

/// Writes a PNG file in place of what has the name. The file is opened before `paint` is called, so that a place where
/// nothing can be written costs no picture. Throws McException naming the file; a former one is there then, whole.
QUARN_VIEW_API void writeSnapshot(const QString& file, const std::function<QImage()>& paint);

}  // namespace quarn::view
