#include "quarn/app/snapshot.h"

#include "quarn/base/McException.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#ifdef QUARN_WITH_VIEW
#include "quarn/view/HxSceneView.h"
#include "quarn/view/Snapshot.h"
#endif

namespace quarn::app {

#ifdef QUARN_WITH_VIEW

namespace {

constexpr int WIDTH = 1600;
constexpr int HEIGHT = 1080;

}  // namespace

int drawSnapshot(const QString& file) {
  quarn::view::requirePictureName(file);
  const McHandle<HxSceneView> view(new HxSceneView);
  // Showing an object may bring another one into the pool.
  const std::vector<McHandle<HxObject>> objects = HxObjectPool::instance().objects();
  for (const McHandle<HxObject>& object : objects)
    if (HxSceneView::canShow(object)) view->show(object);
  if (view->shownNames().isEmpty()) throw McException("--snapshot: there is nothing in these files that can be shown");
  view->snapshot(file, WIDTH, HEIGHT);
  return 0;
}

#else

int drawSnapshot(const QString&) {
  throw McException("--snapshot: this program was built without the view");
}

#endif

}  // namespace quarn::app
