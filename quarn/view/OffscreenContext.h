#pragma once

#include <memory>

#include "quarn/view/export.h"

namespace quarn::view {

/// An OpenGL context that draws into memory: it needs no display, no window and no graphics card. For one thread.
class QUARN_VIEW_API OffscreenContext {
public:
  /// The one of the process, made when it is first asked for. Throws McException when this machine has no OpenGL 3.2.
  static std::shared_ptr<OffscreenContext> shared();

  ~OffscreenContext();
  OffscreenContext(const OffscreenContext&) = delete;
  OffscreenContext& operator=(const OffscreenContext&) = delete;

  /// Throws McException when it cannot be.
  void makeCurrent();
  bool isCurrent() const;

private:
  OffscreenContext();

  struct Handles;
  std::unique_ptr<Handles> handles_;
};

}  // namespace quarn::view
