#include "quarn/view/detail/stampText.h"

#include <algorithm>
#include <cmath>
#include <vtkImageData.h>
#include <vtkNew.h>
#include <vtkStdString.h>
#include <vtkTextProperty.h>
#include <vtkTextRenderer.h>

namespace quarn::view::detail {

namespace {

constexpr int DOTS_PER_INCH = 72;

void blend(QRgb& pixel, const QColor& color, int alpha) {
  const auto mixed = [alpha](int under, int over) { return under + (over - under) * alpha / 255; };
  pixel = qRgb(mixed(qRed(pixel), color.red()), mixed(qGreen(pixel), color.green()), mixed(qBlue(pixel), color.blue()));
}

}  // namespace

void stampText(QImage& picture, const QString& text, double x, double y, const Anchor& anchor, int size,
               const QColor& color) {
  vtkTextRenderer* renderer = vtkTextRenderer::GetInstance();
  if (!renderer || text.isEmpty()) return;
  vtkNew<vtkTextProperty> look;
  look->SetFontFamilyToArial();
  look->SetFontSize(size);
  look->SetColor(1, 1, 1);
  vtkNew<vtkImageData> letters;
  int extent[2] = {0, 0};
  if (!renderer->RenderString(look, vtkStdString(text.toStdString()), letters, extent, DOTS_PER_INCH)) return;
  const int left = static_cast<int>(std::lround(x - anchor.x * extent[0]));
  const int top = static_cast<int>(std::lround(y - anchor.y * extent[1]));
  int size3[3];
  letters->GetDimensions(size3);
  for (int row = 0; row < std::min(extent[1], size3[1]); ++row) {
    // The lowest row comes first.
    const int py = top + extent[1] - 1 - row;
    if (py < 0 || py >= picture.height()) continue;
    auto* line = reinterpret_cast<QRgb*>(picture.scanLine(py));
    for (int column = 0; column < std::min(extent[0], size3[0]); ++column) {
      const int px = left + column;
      if (px < 0 || px >= picture.width()) continue;
      const auto* rgba = static_cast<const unsigned char*>(letters->GetScalarPointer(column, row, 0));
      blend(line[px], color, rgba[3]);
    }
  }
}

}  // namespace quarn::view::detail
