#include <QPixmap>
#include <gtest/gtest.h>

#include "quarn/kernel/app/HxResource.h"

namespace {

TEST(Resource, HoldsThePictureOfAFolder) {
  const QString root = HxResource::getRootDir();
  EXPECT_FALSE(root.endsWith('/'));
  const QPixmap picture(root + "/share/png/TreeViewDirectory.png");
  EXPECT_EQ(picture.size(), QSize(16, 16)) << root.toStdString();
}

}  // namespace
