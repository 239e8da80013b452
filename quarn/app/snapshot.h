#pragma once

#include <QString>

namespace quarn::app {

/// Draws all objects of the pool that can be shown into a PNG file. Returns the exit status. Throws McException when
/// there is nothing to show, or as HxSceneView::snapshot() does.
int drawSnapshot(const QString& file);

}  // namespace quarn::app
