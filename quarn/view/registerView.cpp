#include "quarn/view/registerView.h"

#include "quarn/view/HxSceneView.h"

namespace quarn::view {

void registerView() {
  HxSceneView::initClass();
}

}  // namespace quarn::view
