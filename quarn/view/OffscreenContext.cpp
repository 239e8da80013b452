#include "quarn/view/OffscreenContext.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <array>
#include <cstring>
#include <string>

#include "quarn/base/McException.h"

namespace quarn::view {

struct OffscreenContext::Handles {
  EGLDisplay display = EGL_NO_DISPLAY;
  EGLContext context = EGL_NO_CONTEXT;
};

namespace {

[[noreturn]] void refuse(const std::string& what) {
  throw McException("No picture can be drawn: " + what +
                    ". OpenGL 3.2 is needed; Mesa draws without a graphics card (Debian packages libegl1 and "
                    "libgl1-mesa-dri).");
}

std::string errorNumber() {
  std::array<char, 24> text;
  std::snprintf(text.data(), text.size(), "EGL error 0x%04X", static_cast<unsigned>(eglGetError()));
  return text.data();
}

bool offers(const char* extension) {
  const char* all = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
  return all && std::strstr(all, extension);
}

EGLDisplay openDisplay() {
  const auto open = reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(eglGetProcAddress("eglGetPlatformDisplayEXT"));
  EGLDisplay display = EGL_NO_DISPLAY;
  if (open && offers("EGL_MESA_platform_surfaceless"))
    display = open(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
  if (display != EGL_NO_DISPLAY && eglInitialize(display, nullptr, nullptr)) return display;
  display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
  if (display != EGL_NO_DISPLAY && eglInitialize(display, nullptr, nullptr)) return display;
  refuse("there is no OpenGL driver (" + errorNumber() + ")");
}

EGLContext makeContext(EGLDisplay display) {
  if (!eglBindAPI(EGL_OPENGL_API)) refuse("the driver has no desktop OpenGL (" + errorNumber() + ")");
  const EGLint wanted[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_SURFACE_TYPE, EGL_DONT_CARE, EGL_NONE};
  EGLConfig config = nullptr;
  EGLint count = 0;
  if (!eglChooseConfig(display, wanted, &config, 1, &count) || count == 0)
    refuse("the driver has no fitting format of pixels (" + errorNumber() + ")");
  const EGLint version[] = {
      EGL_CONTEXT_MAJOR_VERSION,           3,       EGL_CONTEXT_MINOR_VERSION, 2, EGL_CONTEXT_OPENGL_PROFILE_MASK,
      EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT, EGL_NONE};
  const EGLContext context = eglCreateContext(display, config, EGL_NO_CONTEXT, version);
  if (context == EGL_NO_CONTEXT) refuse("the driver refused a context (" + errorNumber() + ")");
  return context;
}

}  // namespace

std::shared_ptr<OffscreenContext> OffscreenContext::shared() {
  static const std::shared_ptr<OffscreenContext> context(new OffscreenContext);
  return context;
}

OffscreenContext::OffscreenContext() : handles_(std::make_unique<Handles>()) {
  handles_->display = openDisplay();
  handles_->context = makeContext(handles_->display);
}

OffscreenContext::~OffscreenContext() {
  if (isCurrent()) eglMakeCurrent(handles_->display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
  eglDestroyContext(handles_->display, handles_->context);
}

void OffscreenContext::makeCurrent() {
  // What is bound counts for the thread.
  eglBindAPI(EGL_OPENGL_API);
  if (!isCurrent() && !eglMakeCurrent(handles_->display, EGL_NO_SURFACE, EGL_NO_SURFACE, handles_->context))
    refuse("the context cannot be used (" + errorNumber() + ")");
}

bool OffscreenContext::isCurrent() const {
  return eglGetCurrentContext() == handles_->context;
}

}  // namespace quarn::view
