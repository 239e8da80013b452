#pragma once

#include <memory>
#include <vtkGenericOpenGLRenderWindow.h>

#include "quarn/view/OffscreenContext.h"

namespace quarn::view::detail {

/// A render window of VTK that draws with an OffscreenContext.
class OffscreenWindow : public vtkGenericOpenGLRenderWindow {
public:
  static OffscreenWindow* New();
  vtkTypeMacro(OffscreenWindow, vtkGenericOpenGLRenderWindow);

  void OpenGLInitContext() override;
  void MakeCurrent() override;
  bool IsCurrent() override;

protected:
  /// Throws McException as OffscreenContext::shared() does.
  OffscreenWindow();
  ~OffscreenWindow() override;

private:
  const std::shared_ptr<OffscreenContext> context_;
};

}  // namespace quarn::view::detail
