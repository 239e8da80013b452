#include <gtest/gtest.h>

#include "quarn/kernel/widgets/QxColorDialog.h"

namespace {

TEST(ColorDialog, GivesBackTheColourThatItShows) {
  QxColorDialog dialog;
  dialog.setDefaultColor(McColor(0.5F, 0.25F, 1));
  EXPECT_EQ(dialog.getColor(), McColor(0.5F, 0.25F, 1));
  EXPECT_FALSE(dialog.testOption(QColorDialog::ShowAlphaChannel));
  EXPECT_EQ(dialog.getAlpha(), 1);
  dialog.setCurrentColor(QColor(255, 0, 0));
  EXPECT_EQ(dialog.getColor(), McColor(1, 0, 0));
}

TEST(ColorDialog, OffersOpacityWhenItIsGivenOne) {
  QxColorDialog dialog;
  dialog.setDefaultColor(McColor(1, 1, 1), 0.5F);
  EXPECT_TRUE(dialog.testOption(QColorDialog::ShowAlphaChannel));
  EXPECT_NEAR(dialog.getAlpha(), 0.5F, 0.01F);
  dialog.setDefaultColor(McColor(1, 1, 1), -1);
  EXPECT_EQ(dialog.getAlpha(), 1);
}

TEST(ColorDialog, TellsHowItEnds) {
  QxColorDialog dialog;
  std::vector<int> results;
  QObject::connect(&dialog, &QDialog::finished, [&](int result) { results.push_back(result); });
  dialog.show();
  dialog.accept();
  dialog.show();
  dialog.reject();
  EXPECT_EQ(results, (std::vector<int>{1, 0}));
}

}  // namespace
