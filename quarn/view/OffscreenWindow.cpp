#include "quarn/view/detail/OffscreenWindow.h"

#include <GL/glew.h>
#include <vtkObjectFactory.h>

#include "quarn/base/McException.h"

namespace quarn::view::detail {

vtkStandardNewMacro(OffscreenWindow);

OffscreenWindow::OffscreenWindow() : context_(OffscreenContext::shared()) {
  context_->makeCurrent();
  SetIsCurrent(true);
  SetIsDirect(1);
  SetSupportsOpenGL(1);
  SetMapped(0);
  SetShowWindow(false);
  SetUseOffScreenBuffers(true);
  SetOffScreenRendering(1);
  SetReadyForRendering(true);
  SetForceMaximumHardwareLineWidth(1);
}

OffscreenWindow::~OffscreenWindow() {
  Finalize();
}

void OffscreenWindow::OpenGLInitContext() {
  if (Initialized) return;
  ContextCreationTime.Modified();
  glewExperimental = GL_TRUE;
  // First it takes the functions of OpenGL from the context that is current, then it looks for a display of GLX, of
  // which it finds none, and says that it failed.
  glewInit();
  if (!GLEW_VERSION_3_2) throw McException("No picture can be drawn: the driver has no OpenGL 3.2.");
  GlewInitValid = true;
  Initialized = true;
}

void OffscreenWindow::MakeCurrent() {
  context_->makeCurrent();
}

bool OffscreenWindow::IsCurrent() {
  return context_->isCurrent();
}

}  // namespace quarn::view::detail
