#pragma once

#include <gtest/gtest.h>

#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/view/HxSceneView.h"
#include "quarn/view/registerView.h"
#include "tests/view/TestMasks.h"
#include "tests/view/pictures.h"

inline constexpr McColor RED{1, 0, 0}, GREEN{0, 1, 0}, BLUE{0, 0, 1}, YELLOW{1, 1, 0};

/// A view in the pool and an object with masks, on a grid of 64 voxels along each axis.
class ViewTest : public ::testing::Test {
protected:
  ViewTest() {
    quarn::view::registerView();
    HxObjectPool::instance().add(masks, QStringLiteral("masks"));
    HxObjectPool::instance().add(view, QStringLiteral("view"));
    view->setMarks(false);
    view->setBackground(McColor(0, 0, 0));
  }
  ~ViewTest() override {
    HxObjectPool::instance().clear();
  }

  QImage paint(const char* layout, int size = 128) {
    view->setLayout(QLatin1String(layout));
    return view->paint(size, size);
  }

  HxRecordingSink messages;
  const McHandle<TestMasks> masks{new TestMasks({64, 64, 64})};
  const McHandle<HxSceneView> view{new HxSceneView};
};
