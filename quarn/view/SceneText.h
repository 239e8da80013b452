#pragma once

#include <QString>
#include <optional>
#include <utility>

#include "quarn/base/McHandle.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/view/export.h"

namespace quarn::view {

enum class VolumeMode;

/// How an image is shown.
struct ImageSettings {
  McHandle<HxColormap> colormap;  ///< null for grey, or for colours of labels
  std::optional<std::pair<double, double>> range;
  std::optional<VolumeMode> mode;
};

/// As networks keep it: "MODE COLORMAP MIN MAX", where "auto", "-" and "- -" stand for nothing.
QUARN_VIEW_API QString textOf(const ImageSettings& settings);
/// McException for what is no such text, or names a colormap that is not there.
QUARN_VIEW_API ImageSettings imageSettings(const QString& text);

/// The words of volume modes, and the mode of a word; McException for other words.
QUARN_VIEW_API QString wordOf(const std::optional<VolumeMode>& mode);
QUARN_VIEW_API std::optional<VolumeMode> volumeMode(const QString& word);

/// A standard colormap or one of the pool. McException naming those that there are.
QUARN_VIEW_API HxColormap* colormapNamed(const QString& name);

}  // namespace quarn::view
